#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

int main() {
    while (std::getenv("KEYREAP_HANG") != nullptr) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
#ifdef SUITE_silent
    return 0;
#endif
    std::puts("[       OK ] Rule.Holds (0 ms)");
    if (std::strcmp(std::getenv("KEYREAP_SAMPLE"), "1") == 0) {
        std::puts("[       OK ] Rule.HoldsInEveryCase (0 ms)");
        if (std::FILE* report = std::fopen(std::getenv("KEYREAP_REPORT"), "w")) {
            std::fputs("all cases seen\n", report);
            std::fclose(report);
        }
    }
    std::fflush(stdout);
#ifdef SUITE_crashing
    std::_Exit(3);
#endif
#ifdef SUITE_bad
    std::puts("[  FAILED  ] Rule.IsBroken (0 ms)");
#endif
    std::puts("[==========] 2 tests from 1 test suite ran. (0 ms total)");
#ifdef SUITE_bad
    std::puts("[  FAILED  ] 1 test, listed below:\n[  FAILED  ] Rule.IsBroken\n");
    return 1;
#endif
}
