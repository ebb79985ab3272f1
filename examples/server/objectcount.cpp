#include "server/objectcount.h"

#include <atomic>

namespace keyreap::examples {

namespace {

std::atomic<long> living = 0;
void (*unusedAction)() = nullptr;

void DropOne() {
    if (--living == 0 && unusedAction != nullptr) {
        unusedAction();
    }
}

} // namespace

Counted::Counted() {
    ++living;
}

Counted::~Counted() {
    DropOne();
}

void HoldServer(bool lock) {
    if (lock) {
        ++living;
    } else {
        DropOne();
    }
}

long LivingObjects() {
    return living;
}

void WhenUnused(void (*action)()) {
    unusedAction = action;
}

} // namespace keyreap::examples
