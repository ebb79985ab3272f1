#include "tests/endtoend/harness/runtests.h"

int main(int count, char** arguments) {
    return keyreap::endtoend::RunSampleOfTests(count, arguments);
}
