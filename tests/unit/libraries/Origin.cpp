// A shared library that says where it comes from.
extern "C" const char* origin() {
    return ORIGIN;
}
