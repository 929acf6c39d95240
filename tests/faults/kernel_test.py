"""Updates where the kernel or a sandbox does not offer openat2: still harmless.

    kernel_test.py QRXUPDATE VTEKCTL
"""

from attack import AttackTest, main
from system_calls import reason_not_possible


class Kernel(AttackTest):
    """Files are created step by step then."""

    def assert_harmless_without_openat2(self, error):
        trace = self.folder / "trace"
        self.assert_harmless(self.update("strace", "-o", trace, "-e", "trace=openat2",
                                         "-e", f"inject=openat2:error={error}"))
        self.assertIn("(INJECTED)", trace.read_text())

    def test_works_on_a_kernel_without_the_call(self):
        self.assert_harmless_without_openat2("ENOSYS")

    def test_works_in_a_sandbox_that_forbids_the_call(self):
        self.assert_harmless_without_openat2("EPERM")


if __name__ == "__main__":
    main(reason_not_possible())
