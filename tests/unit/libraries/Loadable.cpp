// A shared library for the tests of loading.
extern "C" int answer() {
    return 42;
}
