#pragma once

namespace keyreap::examples {

// Counts the living objects of this module. The server is in use while the count isn't 0.
class Counted {
public:
    Counted();
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

protected:
    ~Counted();
};

long LivingObjects();

// A client's lock keeps the server in use as an object does.
void HoldServer(bool lock);

// Called when the last object goes; a program ends then. A library sets no function.
void WhenUnused(void (*action)());

} // namespace keyreap::examples
