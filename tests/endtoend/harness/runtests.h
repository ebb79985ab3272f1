#pragma once

namespace keyreap::endtoend {

// Reads the settings and runs all tests of this program, at a strict host only every sampleStep-th. Returns
// the exit status.
int RunAllTests(int count, char** arguments);
// Runs only every sampleStep-th test, for programs that have very many.
int RunSampleOfTests(int count, char** arguments);

} // namespace keyreap::endtoend
