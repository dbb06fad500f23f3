// The entry point of every test program: either a child process started by a
// test, or the GoogleTest run.
#include "testsupport.h"

int main(int argc, char** argv) {
    int exitCode = 0;
    if (testsupport::DispatchChild(argc, argv, exitCode))
        return exitCode;
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
