#include "Application.h"

int main(int argc, char** argv) {
    return tools::runApplication(argc, argv);
}
