// Loses a block on purpose: in the sanitizer build, the test that runs this
// program passes only when LeakSanitizer reports the loss, which shows that
// leak detection really works where the test suite runs.
#include <cstdio>
#include <cstdlib>

int main() {
    void* volatile block = std::malloc(4242);
    std::printf("lost a block of 4242 bytes at %p\n", block);
    block = nullptr;
    return 0;
}
