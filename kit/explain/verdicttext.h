#pragma once

#include "kit/explain/explainedstory.h"
#include "kit/explain/verdict.h"

#include <cstddef>
#include <string>

// The words for what an operation is and what became of it.
namespace keyreap {

// `set value HKEY_CLASSES_ROOT\A, value "B"`.
std::wstring CallText(const StoryOperation& operation, const std::wstring& key);

// `child.exe (72)`.
std::wstring ProcessText(const Story& story, std::size_t process);

// The verdict as a piece of a sentence.
std::wstring VerdictText(const ExplainedStory& explained, const JudgedOperation& judged);

// Without line breaks and other control characters, which would add lines or control a terminal.
std::wstring Printable(std::wstring text);

} // namespace keyreap
