#include "Vtekctl.h"

#include <iostream>

int main(int argc, char** argv) {
    return vtekctl::run(argc, argv, std::cout, std::cerr);
}
