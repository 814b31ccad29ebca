#include "apps/cscan/commands/application.h"

#include <iostream>

int main(int argumentCount, char** arguments) {
    return cscan::runApplication(argumentCount, arguments, std::cout, std::cerr);
}
