// A tour of the library, run by the README's first command.
#include <basekel.h>

#include <cstdio>

int main() {
    char name[64];
    DWORD size = sizeof name;
    if (GetComputerNameA(name, &size))
        std::printf("computer: %s\n", name);
    return 0;
}
