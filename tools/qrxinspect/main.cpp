#include "Inspect.h"

#include <iostream>

int main(int argc, char** argv) {
    return tools::inspect(argc, argv, {std::cout, std::cerr});
}
