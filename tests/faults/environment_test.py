"""Updates in a hostile environment: harmless, or refused with the root as it was.

    environment_test.py QRXUPDATE VTEKCTL
"""

import os
import resource
import signal

from attack import AttackTest, main
from local_chassis import NOT_UPDATED


def close_standard_descriptors():
    for descriptor in (0, 1, 2):
        os.close(descriptor)


class Environment(AttackTest):
    """One test for each thing that the program's caller can choose."""

    def with_variables(self, **variables):
        return self.update(env={**self.chassis.environment, **variables})

    def test_opens_nothing_to_others_with_an_umask_of_zero(self):
        self.assert_harmless(self.update(preexec_fn=lambda: os.umask(0)))
        opened = [str(path) for path in self.chassis.root.rglob("*") if path.stat().st_mode & 0o022]
        self.assertEqual(opened, [])

    def test_prints_nothing_into_a_file_without_standard_descriptors(self):
        self.update(preexec_fn=close_standard_descriptors, capture_output=False)
        versions = self.assert_old_or_new()
        self.assertNotEqual(versions, NOT_UPDATED, "the update does not need the descriptors")

    def test_reads_no_configuration_of_openssl(self):
        configuration = self.folder / "openssl.cnf"
        configuration.write_text("openssl_conf = start\n[start]\nalg_section = algorithms\n[algorithms]\n"
                                 "default_properties = fips=yes\n")  # whoever reads it finds no algorithm
        self.assert_harmless(self.with_variables(OPENSSL_CONF=str(configuration)))

    def test_takes_no_trust_from_variables(self):
        self.chassis.vtekctl("trust", "remove", "authority.pem")
        self.before = self.snapshot()
        authority = str(self.chassis.packages / "authority.pem")
        ended = self.with_variables(SSL_CERT_FILE=authority, SSL_CERT_DIR=str(self.chassis.packages))
        self.assert_refused(ended, "Signing the Payload failed", "error 211")

    def test_needs_no_temporary_folder(self):
        self.assert_harmless(self.with_variables(TMPDIR="/nonexistent", SQLITE_TMPDIR="/nonexistent"))

    def test_ignores_the_locale(self):
        for locale in ("tr_TR.UTF-8", "de_DE.ISO-8859-1", "nonexistent"):
            with self.subTest(locale=locale):
                self.setUp()
                self.assert_harmless(self.with_variables(LC_ALL=locale, LANG=locale))

    def test_keeps_the_old_state_at_a_file_size_limit(self):
        for limit in (0, 1000, 100_000):
            with self.subTest(limit=limit):
                self.setUp()
                # Without the signal the program sees the error.
                for action in (signal.SIG_DFL, signal.SIG_IGN):
                    def restrict(limit=limit, action=action):
                        signal.signal(signal.SIGXFSZ, action)
                        resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
                    ended = self.update(preexec_fn=restrict)
                    self.assertNotIn('result = "true"', ended.stdout)
                    self.assertEqual(self.snapshot_without_staging(), self.before)
                self.assertEqual(self.assert_old_or_new(), NOT_UPDATED)

    def snapshot_without_staging(self):
        return {path: content for path, content in self.snapshot().items() if not path.startswith("staging/")}

    def test_refuses_a_working_directory_that_was_removed(self):
        gone = self.folder / "gone"
        gone.mkdir()
        ended = self.update("sh", "-c", 'rmdir "$PWD" && exec "$@"', "sh", cwd=gone)
        self.assertNotIn('result = "true"', ended.stdout)
        self.assertEqual(self.snapshot(), self.before)


if __name__ == "__main__":
    main()
