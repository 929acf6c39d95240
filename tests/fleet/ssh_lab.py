"""Servers of several chassis on one machine: each is an sshd in a network namespace of its own.

The servers of a chassis share a stand-in's root. Everything lives in namespaces that `enter` makes; they end, with all
their processes, when the test does. No packet leaves the machine.
"""

import contextlib
import json
import os
import pathlib
import signal
import subprocess
import sys
import time
from dataclasses import dataclass, field

INSIDE = "FLEET_LAB"  # set inside of the namespaces
TOOLS = ("unshare", "ip", "ssh", "ssh-keygen", "ansible-playbook")
PYTHON = "/usr/bin/python3"  # of the servers
RESULTS = "FLEET_RESULTS"  # names the file that the callback plug-in writes to
HERE = pathlib.Path(__file__).resolve().parent
SSHD = HERE.parent.parent / "build" / "sshd"  # as fetch-sshd leaves it


def reason_not_possible():
    """Why there can be no lab here, or None."""
    if os.geteuid() != 0:
        return "network namespaces with sshd need root"
    missing = [tool for tool in TOOLS if not any(os.access(f"{folder}/{tool}", os.X_OK)
                                                 for folder in os.environ["PATH"].split(":"))]
    if missing:
        return f"missing: {', '.join(missing)}"
    if not (SSHD / "usr/sbin/sshd").exists():
        return "tests/fleet/fetch-sshd has not unpacked sshd"
    tried = subprocess.run(["unshare", "--net", "--mount", "--pid", "--fork", "true"], check=False)
    return None if tried.returncode == 0 else "namespaces are not permitted here"


def enter():
    """Starts the script again inside of new namespaces; exits with 77 where that is not possible."""
    if os.environ.get(INSIDE):
        return
    reason = reason_not_possible()
    if reason:
        print(f"skipped: {reason}")
        sys.exit(77)
    # --kill-child: the namespace's first process takes all others with it.
    os.execvpe("unshare", ["unshare", "--net", "--mount", "--pid", "--fork", "--mount-proc", "--kill-child",
                           sys.executable, "-B", *sys.argv], {**os.environ, INSIDE: "1"})


def run(*command, **options):
    """Runs a command, which must succeed; returns what it prints."""
    return subprocess.run(list(map(str, command)), check=True, text=True, stdout=subprocess.PIPE, **options).stdout


@dataclass
class Server:
    """One server: its name, its chassis and its address."""

    name: str
    chassis: str
    address: str
    root: pathlib.Path
    folder: pathlib.Path
    variables: dict = field(default_factory=dict)  # for Ansible, beside those that the lab sets
    environment: dict = field(default_factory=dict)  # of everything that sshd starts
    process: subprocess.Popen = None


class Lab:
    """All servers, by name: c1a and c1b are the first chassis's."""

    def __init__(self, folder, chassis=12, servers=2):
        """Makes keys and describes the servers; `start` starts them."""
        self.folder = pathlib.Path(folder)
        self.folder.chmod(0o755)
        self.servers = {}
        for number in range(1, chassis + 1):
            for position in range(servers):
                name = f"c{number}{chr(ord('a') + position)}"
                place = self.folder / name
                place.mkdir()
                self.servers[name] = Server(name, f"chassis-{number}", f"10.77.{number}.{position + 1}",
                                            self.folder / f"root-{number}", place)
        for key in ("host", "client"):
            run("ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", self.folder / key)
        (self.folder / "known_hosts").write_text("* " + (self.folder / "host.pub").read_text())

    def start(self):
        """Starts the bridge and every server; returns when all answer."""
        run("mount", "-t", "tmpfs", "tmpfs", "/run")
        os.makedirs("/run/sshd")
        self._make_users()
        run("ip", "link", "set", "lo", "up")
        run("ip", "link", "add", "lab", "type", "bridge")
        run("ip", "address", "add", "10.77.0.1/16", "dev", "lab")
        run("ip", "link", "set", "lab", "up")
        for server in self.servers.values():
            self._make_network(server)
            self.start_sshd(server.name)
        for server in self.servers.values():
            self._wait_for(server)

    def _make_users(self):
        """The user that sshd wants, and a root without this machine's start files: bash reads them for every command."""
        home = self.folder / "home"
        home.mkdir()
        own = self.folder / "passwd"
        own.write_text(f"root:x:0:0:root:{home}:/bin/sh\nsshd:x:65534:65534::/run/sshd:/usr/sbin/nologin\n", encoding="utf-8")
        run("mount", "--bind", own, "/etc/passwd")

    def _make_network(self, server):
        name = server.name
        run("ip", "netns", "add", name)
        run("ip", "link", "add", f"v-{name}", "master", "lab", "type", "veth", "peer", "name", "eth0", "netns", name)
        run("ip", "link", "set", f"v-{name}", "up")
        run("ip", "-n", name, "address", "add", f"{server.address}/16", "dev", "eth0")
        run("ip", "-n", name, "link", "set", "eth0", "up")
        run("ip", "-n", name, "link", "set", "lo", "up")

    def start_sshd(self, name):
        """Starts a server's sshd."""
        server = self.servers[name]
        config = server.folder / "sshd_config"
        environment = " ".join(f"{key}={value}" for key, value in
                               {"VTEK_ROOT": server.root, **server.environment}.items())
        config.write_text(f"ListenAddress {server.address}\nHostKey {self.folder}/host\nUsePAM no\nStrictModes no\n"
                          f"AuthorizedKeysFile {self.folder}/client.pub\nPidFile none\nMaxSessions 100\n"
                          f"MaxStartups 100\nSetEnv {environment}\n")
        libraries = ":".join(map(str, (SSHD / "usr/lib").glob("*-linux-gnu")))
        with open(server.folder / "sshd.log", "ab") as log:
            server.process = subprocess.Popen(
                ["ip", "netns", "exec", name, str(SSHD / "usr/sbin/sshd"), "-D", "-e", "-f", str(config)],
                stdin=subprocess.DEVNULL, stdout=log, stderr=log, start_new_session=True,
                env={**os.environ, "LD_LIBRARY_PATH": libraries})

    def _wait_for(self, server):
        deadline = time.monotonic() + 60
        while "Server listening" not in (server.folder / "sshd.log").read_text():
            if server.process.poll() is not None or time.monotonic() > deadline:
                raise AssertionError((server.folder / "sshd.log").read_text())
            time.sleep(0.05)

    def kill_sshd(self, name):
        """Kills a server's sshd with all its connections. What runs in a session of its own stays."""
        self.servers[name].process.kill()
        self.servers[name].process.wait()
        for process in run("ip", "netns", "pids", name).split():
            with contextlib.suppress(OSError):
                if pathlib.Path(f"/proc/{process}/comm").read_text().strip() == "sshd":
                    os.kill(int(process), signal.SIGKILL)

    def set_link(self, name, state):
        """Takes a server's link `up` or `down`."""
        run("ip", "link", "set", f"v-{name}", state)

    def processes(self, name):
        """The command lines of a server's processes, by process id."""
        found = {}
        for process in run("ip", "netns", "pids", name).split():
            with contextlib.suppress(OSError):
                line = pathlib.Path(f"/proc/{process}/cmdline").read_bytes().replace(b"\0", b" ").decode()
                found[int(process)] = line.strip()
        return found

    # Ansible on the controller, which is this process's namespace.

    def inventory(self):
        """Writes the inventory; returns its path."""
        hosts = {server.name: {"ansible_host": server.address, "qrx_chassis": server.chassis,
                               "qrx_state": str(server.folder / "state"), **server.variables}
                 for server in self.servers.values()}
        shared = {"ansible_user": "root", "ansible_python_interpreter": PYTHON,
                  "ansible_ssh_private_key_file": str(self.folder / "client"),
                  "ansible_ssh_common_args": f"-o UserKnownHostsFile={self.folder}/known_hosts -o ConnectTimeout=60 "
                                             "-o ServerAliveInterval=1 -o ServerAliveCountMax=30 -F none"}
        path = self.folder / "hosts.json"
        path.write_text(json.dumps({"all": {"hosts": hosts, "vars": shared}}))
        return path

    def environment(self, collections, results):
        """The environment of every Ansible program; each task's result becomes a line of the file `results`."""
        return {**os.environ, "ANSIBLE_COLLECTIONS_PATH": str(collections), "ANSIBLE_HOME": str(self.folder / "ansible"),
                "HOME": str(self.folder), "ANSIBLE_PIPELINING": "1", "ANSIBLE_SSH_TRANSFER_METHOD": "piped",
                "ANSIBLE_SSH_CONTROL_PATH_DIR": str(self.folder / "control"), "ANSIBLE_REMOTE_TEMP": "/tmp/.ansible-lab",
                "ANSIBLE_CALLBACK_PLUGINS": str(HERE / "callbacks"), "ANSIBLE_CALLBACKS_ENABLED": "fleet_results",
                "ANSIBLE_FORKS": "12", "ANSIBLE_NOCOLOR": "1", "ANSIBLE_LOCALHOST_WARNING": "0", RESULTS: str(results),
                "PYTHONDONTWRITEBYTECODE": "1"}

    def start_playbook(self, plays, collections, *options):
        """Starts ansible-playbook with plays (or the path of a playbook); `results_of` waits for it."""
        number = len(list(self.folder.glob("results-*")))
        results = self.folder / f"results-{number}"
        results.touch()
        playbook = plays
        if isinstance(plays, list):
            playbook = self.folder / f"playbook-{number}.yml"
            playbook.write_text(json.dumps(plays))
        with open(self.folder / f"output-{number}", "wb") as output:
            process = subprocess.Popen(["ansible-playbook", "-i", str(self.inventory()), str(playbook), *options],
                                       stdin=subprocess.DEVNULL, stdout=output, stderr=output, start_new_session=True,
                                       env=self.environment(collections, results))
        process.results, process.output = results, self.folder / f"output-{number}"
        return process

    def results_of(self, process, timeout=600):
        """Waits for a playbook; returns the results of its tasks by server, each with its `status`."""
        process.wait(timeout)
        found = {}
        for line in process.results.read_text().splitlines():
            entry = json.loads(line)
            found.setdefault(entry["host"], []).append({"status": entry["status"], **entry["result"]})
        return found
