#pragma once

#include "tests/endtoend/harness/files.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace keyreap::endtoend {

// What stands for a path in a golden file, such as {MODULE}, and the path that it stands for in this run.
using Placeholders = std::vector<std::pair<std::wstring, std::wstring>>;

// The bytes of a golden file, with each placeholder replaced by its path as a string value is written.
Bytes Golden(const std::string& name, const Placeholders& placeholders = {});

// {MODULE} and {FOLDER} for a registered file.
Placeholders PathsOf(const std::wstring& file);

// The bytes of a .reg file with these lines: mark, header, and then the text as it stands.
Bytes Document(const std::wstring& body);

// The body of a file in which nothing but the four roots stands, as of a run that redirected nothing ...
std::wstring UntouchedRoots();
// ... and of one that redirected them to a target that wrote nothing.
std::wstring RedirectedRoots();

// A path as it stands in a string value: every backslash is doubled.
std::wstring Doubled(const std::wstring& path);

// Whether a file holds exactly these bytes; the message shows where they part.
testing::AssertionResult Holds(const std::wstring& file, const Bytes& expected);

} // namespace keyreap::endtoend
