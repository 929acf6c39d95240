"""The collection as Ansible's own tools see it.

    quality_test.py COLLECTION QRXUPDATE VTEKCTL
"""

import ast
import importlib
import json
import os
import re
import shlex
import shutil
import subprocess
import sys
import tarfile

import yaml

from local_modules import MODULE_NAMES, NEW, ModuleCase, main

OLDEST_PYTHON = (3, 5)
# What came after that Python, beyond what its grammar refuses.
NEWER_SYNTAX = (ast.JoinedStr, ast.AnnAssign, ast.NamedExpr, ast.AsyncFunctionDef)
NEWER_ARGUMENTS = {"capture_output", "text", "encoding", "missing_ok", "dirs_exist_ok"}
OF_ANSIBLE = {"failed", "msg", "diff", "invocation"}  # keys that Ansible knows itself


class Quality(ModuleCase):
    """Documentation, formats and the archive."""

    def run_tool(self, *command, **options):
        """Runs a tool, which must succeed; returns what it prints."""
        settings = {"cwd": self.collection, "env": {**self.variables(), "ANSIBLE_COLLECTIONS_PATH": str(self.collections),
                                                    "ANSIBLE_HOME": str(self.folder), "HOME": str(self.folder)}}
        ended = subprocess.run(list(map(str, command)), check=False, text=True, stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT, **{**settings, **options})
        self.assertEqual(ended.returncode, 0, ended.stdout)
        return ended.stdout

    def module(self, name):
        """The source of a module, imported."""
        sys.path.insert(0, str(self.collections))
        self.addCleanup(sys.path.remove, str(self.collections))
        return importlib.import_module(f"ansible_collections.qrxupdate.chassis.plugins.modules.{name}")

    def sources_on_hosts(self):
        """The files that reach a managed host: the modules, and what they import of the collection."""
        todo, found = sorted((self.collection / "plugins/modules").glob("*.py")), []
        while todo:
            path = todo.pop()
            if path in found:
                continue
            found.append(path)
            for node in ast.walk(ast.parse(path.read_text())):
                if isinstance(node, ast.ImportFrom) and (node.module or "").startswith("ansible_collections.qrxupdate"):
                    names = [node.module.split(".")[-1], *(alias.name for alias in node.names)]
                    todo += [file for file in (self.collection / "plugins/module_utils" / f"{name}.py" for name in names)
                             if file.exists()]
        self.assertGreater(len(found), 10)
        return found

    def documentation(self, name):
        """What ansible-doc reads out of a module."""
        text = self.run_tool("ansible-doc", "--json", "--type", "module", f"qrxupdate.chassis.{name}")
        return json.loads(text)[f"qrxupdate.chassis.{name}"]

    def test_pleases_yamllint(self):
        self.run_tool("yamllint", "--strict", ".")

    def test_pleases_ansible_lint(self):
        # A copy: ansible-lint wants a folder that it may write to, and no tests of ours.
        copy = self.folder / "ansible_collections/qrxupdate/chassis"
        shutil.copytree(self.collection, copy, ignore=shutil.ignore_patterns("__pycache__"))
        self.run_tool("ansible-lint", "--offline", "--profile", "production", "--strict", "--nocolor", cwd=copy)

    def test_documents_every_module(self):
        modules = sorted(path.stem for path in (self.collection / "plugins/modules").glob("*.py"))
        self.assertEqual(modules, sorted(MODULE_NAMES))
        for name in modules:
            shown = self.run_tool("ansible-doc", f"qrxupdate.chassis.{name}")
            for part in ("OPTIONS", "EXAMPLES", "RETURN VALUES", "ATTRIBUTES"):
                self.assertIn(part, shown)

    def test_documents_the_arguments_that_it_takes(self):
        for name in MODULE_NAMES:
            documented = {option: {key: fields[key] for key in ("type", "default", "required") if key in fields}
                          for option, fields in self.documentation(name)["doc"]["options"].items()}
            self.assertEqual(documented, self.module(name).ARGUMENTS, name)

    def test_documents_the_keys_that_it_returns(self):
        self.make_chassis()
        self.make_package()
        for name in MODULE_NAMES:
            documented = set(self.documentation(name)["return"]) | {"changed"}
            for arguments in ({}, {"package": "/nowhere"}):
                found = set(self.run_module(name, **arguments)) - OF_ANSIBLE
                self.assertEqual(found, documented, (name, arguments))

    def test_documents_types_that_it_returns(self):
        types = {"str": (str, type(None)), "bool": (bool,)}
        self.make_chassis()
        self.make_package()
        for name in MODULE_NAMES:
            answer = self.run_module(name)
            for key, fields in self.documentation(name)["return"].items():
                self.assertIsInstance(answer[key], types[fields["type"]], (name, key))

    def test_shows_examples_that_ansible_accepts(self):
        for name in MODULE_NAMES:
            tasks = yaml.safe_load(self.documentation(name)["examples"])
            playbook = self.folder / f"{name}.yml"
            playbook.write_text(json.dumps([{"hosts": "all", "tasks": tasks}]))
            self.run_tool("ansible-playbook", "--syntax-check", "-i", "localhost,", playbook)

    def test_does_what_its_readme_says(self):
        self.make_chassis()
        self.make_package()
        readme = (self.collection / "README.md").read_text()
        hosts, playbook = re.findall("```yaml\n(.*?)```", readme, re.DOTALL)
        dry_run = re.search("`(ansible-playbook .*?)`", readme)[1]
        package = "package: /opt/firmware/25227-1.40.200"
        self.assertIn(package, playbook)
        playbook = playbook.replace(package, f"package: {self.package}\n        state: {self.state}")
        (self.folder / "hosts.yml").write_text(hosts)
        (self.folder / "update.yml").write_text(playbook)

        def run(command):
            place = {"ANSIBLE_COLLECTIONS_PATH": str(self.collections), "ANSIBLE_HOME": str(self.folder), "HOME": str(self.folder),
                     "ANSIBLE_TRANSPORT": "local", "ANSIBLE_PYTHON_INTERPRETER": sys.executable, "ANSIBLE_NOCOLOR": "1",
                     "PATH": f"{self.vtekctl.parent}:{os.environ['PATH']}"}
            said = self.run_tool(*shlex.split(command), cwd=self.folder, env={**self.variables(), **place})
            return dict(re.findall(r"^(server-\d) +: .*?changed=(\d)", said, re.MULTILINE))

        self.assertEqual(run(dry_run), {"server-1": "1", "server-2": "1", "server-3": "1"})
        self.assertEqual(self.history(), [])
        self.assertEqual(run(dry_run.replace(" --check", "")), {"server-1": "1", "server-2": "0", "server-3": "0"})
        self.assertEqual(self.history(), [NEW])

    def test_makes_the_archive(self):
        self.run_tool("ansible-galaxy", "collection", "build", "--output-path", self.folder)
        archive, = self.folder.glob("*.tar.gz")
        with tarfile.open(archive) as content:
            names = set(content.getnames())
        self.assertLessEqual({f"plugins/modules/{name}.py" for name in MODULE_NAMES}, names)
        self.assertEqual([name for name in names if "__pycache__" in name or "test" in name], [])

    def test_has_the_version_of_its_change_log(self):
        version = yaml.safe_load((self.collection / "galaxy.yml").read_text())["version"]
        self.assertIn(f"\n## [{version}]", (self.collection / "CHANGELOG.md").read_text())

    def test_uses_the_syntax_of_the_oldest_python(self):
        for path in self.sources_on_hosts():
            tree = ast.parse(path.read_text(), feature_version=OLDEST_PYTHON)
            for node in ast.walk(tree):
                self.assertNotIsInstance(node, NEWER_SYNTAX, f"{path.name}:{getattr(node, 'lineno', 0)}")
                if isinstance(node, ast.Call):
                    named = {keyword.arg for keyword in node.keywords}
                    self.assertEqual(named & NEWER_ARGUMENTS, set(), f"{path.name}:{node.lineno}")

    def test_passes_nothing_through_a_shell(self):
        for path in self.sources_on_hosts():
            for node in ast.walk(ast.parse(path.read_text())):
                if isinstance(node, ast.keyword):
                    self.assertNotIn(node.arg, ("shell", "use_unsafe_shell"), path.name)
                if isinstance(node, ast.Attribute):
                    self.assertNotIn(node.attr, ("system", "popen", "run_command"), path.name)


class Inventory(ModuleCase):
    """The module that only asks."""

    def test_changes_nothing_and_says_so(self):
        self.make_chassis()
        self.make_package()
        for check in (False, True):
            answer = self.run_module("inventory_info", check=check)
            self.assert_answer(answer, "found", False, False)
            self.assertEqual((answer["component"], answer["version"]), ("25227", "1.30.100"))

    def test_does_not_fail_when_the_chassis_says_no(self):
        self.make_chassis()
        self.make_package()
        self.administer("inventory", "remove", "25227")
        self.assert_answer(self.run_module("inventory_info"), "incompatible", False, False)
        self.administer("set", "ipmi-flag", "0")
        self.administer("inventory", "add", "25227", "1")
        self.assert_answer(self.run_module("inventory_info"), "not_permitted", False, False)

    def test_fails_when_the_question_could_not_be_asked(self):
        self.assert_answer(self.run_module("inventory_info"), "not_started", False, True, "no such package")
        self.script_package("pass")
        self.assert_answer(self.run_module("inventory_info"), "damaged", False, True, "^no report$")


if __name__ == "__main__":
    main()
