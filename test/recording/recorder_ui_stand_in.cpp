#include <windows.h>

// Stands in for the user interface's process in the recorder's Windows tests: it only waits, until
// a test terminates it.
int main() {
    ::Sleep(INFINITE);
    return 0;
}
