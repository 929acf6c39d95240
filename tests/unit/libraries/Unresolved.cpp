// A shared library that calls a function nobody has: it loads only where its functions are bound late.
extern "C" int nobodyHasThis();

extern "C" int answer() {
    return nobodyHasThis();
}
