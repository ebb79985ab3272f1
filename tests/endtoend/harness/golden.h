#pragma once

#include "tests/endtoend/harness/files.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace keyreap::endtoend {

// Placeholders for paths in golden files, such as {MODULE}, and the paths that replace them in this run.
using Placeholders = std::vector<std::pair<std::wstring, std::wstring>>;

// The bytes of a golden file, with each placeholder replaced by its path as string values contain it.
Bytes Golden(const std::string& name, const Placeholders& placeholders = {});

// {MODULE} and {FOLDER} for a registered file.
Placeholders PathsOf(const std::wstring& file);

// The bytes of a .reg file: byte order mark, header, and the body unchanged.
Bytes Document(const std::wstring& body);

// The body of a file that contains only the four roots: the result of a run that redirected nothing.
std::wstring UntouchedRoots();
// The body after a run that redirected the roots for a target that wrote nothing.
std::wstring RedirectedRoots();

// A path as a string value contains it: every backslash is doubled.
std::wstring Doubled(const std::wstring& path);

// Whether a file contains exactly these bytes; the message shows the first difference. At a strict host it
// has to differ by what is listed for the test, and by nothing else.
testing::AssertionResult Holds(const std::wstring& file, const Bytes& expected);

} // namespace keyreap::endtoend
