#pragma once

#include "kit/capture/capture.h"
#include "kit/emit/installdata.h"
#include "kit/serverfile.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What verbs do with the files that their words name. Each fails with a Refusal.
namespace keyreap {

std::vector<std::uint8_t> ReadCaptureBytes(const std::string& name);
Capture CaptureOf(const std::string& name, std::span<const std::uint8_t> bytes);
Capture ReadCapture(const std::string& name);
std::vector<Capture> ReadCaptures(const std::vector<std::string>& names);

// The servers of the words FILE or FILE=CAPTURED PATH, each with a name of its own.
std::vector<ServerFile> ReadServers(const std::vector<std::string>& words);

// Writes to standard output if the name is empty.
void WriteResult(const std::string& name, std::string_view bytes);

// A line for each note on standard error. Returns how the verb ends.
int SayNotes(std::span<const EmitNote> notes);

// Runs a verb, and says why it is refused if it is. Returns how it ends.
int StatusOf(const std::function<int()>& verb);

} // namespace keyreap
