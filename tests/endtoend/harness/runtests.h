#pragma once

namespace keyreap::endtoend {

// Reads the settings and runs the program's tests; of those of a program with very many, every sampleStep-th
// in their order. The result is the exit status.
int RunAllTests(int count, char** arguments);
int RunSampleOfTests(int count, char** arguments);

} // namespace keyreap::endtoend
