#include "tests/endtoend/harness/runtests.h"

int main(int count, char** arguments) {
    return keyreap::endtoend::RunAllTests(count, arguments);
}
