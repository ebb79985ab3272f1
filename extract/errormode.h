#pragma once

namespace keyreap {

// Lets calls fail where the system would first show a box of its own: for a drive without a disk, for a
// library that doesn't load. Nobody closes such a box on a build machine, and the run would wait for ever.
// What the process inherited stays set, and child processes inherit the sum.
//
// Deliberate: crashes are left out (SEM_NOGPFAULTERRORBOX). Without the system's handling of them a crash
// dump that an administrator has asked for would not be written.
void SuppressErrorBoxes();

} // namespace keyreap
