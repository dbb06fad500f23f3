// A program outside the library's tree that uses it as an application would.
#include <basekel.h>

#include <cstdio>

int main() {
    char name[64];
    DWORD size = sizeof name;
    std::printf("%s\n", GetComputerNameA(name, &size) ? name : "?");
    return 0;
}
