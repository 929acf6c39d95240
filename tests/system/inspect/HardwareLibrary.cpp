// Stands for the hardware library of an installed agent; being loadable is all that is asked of it.
extern "C" __attribute__((visibility("default"))) int hardwareLibraryOfATest() {
    return 0;
}
