#include "Qrxinspect.h"

#include <iostream>

int main(int argc, char** argv) {
    return qrxinspect::run(argc, argv, std::cout, std::cerr);
}
