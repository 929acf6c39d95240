"""A fleet of doubles on this machine, and the real playbook over it."""
import json
import os
import pathlib
import shutil
import sqlite3
import subprocess

HERE = pathlib.Path(__file__).resolve().parent
KINDS = ("new", "begun", "bad", "lying", "deceived", "running", "dead", "dying")


class Lab:
    """Chassis with two servers each, below `folder`; `collection` is the folder of the real collection."""

    def __init__(self, folder, collection, chassis):
        self.folder, self.chassis = pathlib.Path(folder), ["c%02d" % n for n in range(chassis)]
        self.servers = [name + "-" + side for name in self.chassis for side in "ab"]
        self.world = self.folder / "world"
        for kind in KINDS:
            (self.world / kind).mkdir(parents=True)
        self._lay_out_collection(pathlib.Path(collection).resolve())
        (self.folder / "hosts").write_text("[all]\n" + "".join(
            "%s qrx_chassis=%s\n" % (server, server.rsplit("-", 1)[0]) for server in self.servers)
            + "[all:vars]\nansible_connection=qrxupdate.chassis.doubled\n")
        (self.folder / "package").write_text("the package\n")
        (self.folder / "ansible.cfg").write_text("[defaults]\n")
        self.ledger = self.folder / "ledger.sqlite"

    def _lay_out_collection(self, collection):
        root = self.folder / "ansible_collections" / "qrxupdate" / "chassis"
        shutil.copytree(collection, root)
        for name, place in (("chassis_double", "plugin_utils"), ("inventory_info", "action"), ("update", "action"),
                            ("doubled", "connection")):
            (root / "plugins" / place).mkdir(exist_ok=True)
            shutil.copy(HERE / "doubles" / (name + ".py"), root / "plugins" / place)

    def environment(self, **more):
        return dict(os.environ, ANSIBLE_COLLECTIONS_PATH=str(self.folder), QRX_WORLD=str(self.world),
                    ANSIBLE_HOME=str(self.folder / "home"), ANSIBLE_LOCAL_TEMP=str(self.folder / "tmp"),
                    ANSIBLE_CONFIG=str(self.folder / "ansible.cfg"), ANSIBLE_NOCOLOR="1", LC_ALL="C.UTF-8",
                    ANSIBLE_LOCALHOST_WARNING="False", PYTHONDONTWRITEBYTECODE="1", **more)

    def command(self, *options, forks=4, **variables):
        values = dict({"qrx_package": str(self.folder / "package"), "qrx_version": "2.0", "qrx_deliver": False,
                       "qrx_ledger": str(self.ledger), "qrx_place": "/nowhere",
                       "qrx_locks": str(self.folder / "locks")}, **variables)
        return ["/usr/bin/ansible-playbook", "-i", str(self.folder / "hosts"), "-f", str(forks),
                "qrxupdate.chassis.rollout", "-e", json.dumps(values)] + list(options)

    def run(self, *options, **variables):
        """Runs the playbook to its end. Returns what subprocess.run returns, with all output in stdout."""
        return subprocess.run(self.command(*options, **variables), env=self.environment(), stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, universal_newlines=True, timeout=600)

    def mark(self, kind, *names):
        for name in names:
            (self.world / kind / name).touch()

    def unmark(self, kind, *names):
        for name in names:
            (self.world / kind / name).unlink()

    def names(self, kind):
        return sorted(path.name for path in (self.world / kind).iterdir())

    def begun(self, chassis):
        """The servers that began an update of this chassis, in order."""
        path = self.world / "begun" / chassis
        return path.read_text().split() if path.exists() else []

    def summary(self):
        return json.loads(pathlib.Path(str(self.ledger) + ".summary.json").read_text())

    def rows(self, sql="SELECT * FROM entry ORDER BY id"):
        # Not read-only: where a command was killed inside of a transaction, the first reader rolls it back.
        database = sqlite3.connect(self.ledger)
        database.row_factory = sqlite3.Row
        try:
            return [dict(row) for row in database.execute(sql)]
        finally:
            database.close()
