#pragma once

#include "tests/endtoend/harness/files.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace keyreap::endtoend {

// Whether the logger of this session's host is described as strict as the one of Windows (KEYREAP_HOST).
// There a trace has more than what the target did, and the table strict.txt lists what.
bool HostIsStrict();

// Whether the logger was left running by a run that was killed or crashed.
bool LoggerIsLeftRunning();
// Stops it by its name, as an administrator would.
void StopLeftLogger();

// Whether a result differs from what is expected by all that the table lists for the current test, and by
// nothing else. The texts are those of .reg files. One that a redirection made has no difference.
testing::AssertionResult DifferAsListed(const std::wstring& file, const std::wstring& actual,
                                        const std::wstring& expected);
// The same for changes of the registry, which become those that are not listed.
void DropListedChanges(std::vector<std::wstring>& actual, std::vector<std::wstring>& expected);

// Changes of the registry that are listed for tests of this program and occurred in none of them, one a line.
std::wstring MissingChanges();

} // namespace keyreap::endtoend
