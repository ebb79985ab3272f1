#pragma once

#include "kit/check/checkfacts.h"
#include "kit/check/checkreport.h"

#include <optional>
#include <span>
#include <string>

// Finds out about a server what a check needs, in sessions that are thrown away.
namespace keyreap {

// The server of a check.
struct CheckedServer {
    std::string file;        // as this program opens it
    std::wstring path;       // of Windows
    int bitness = 64;        // that of the program which registers it
    bool hasExport = false;  // DllRegisterServer
    bool isProgram = false;  // without that export
    bool hasTypeLib = false; // it is a type library, or has one inside
};

// Fails with a Refusal if a session can't be had.
CheckFacts FactsOf(const CheckedServer& server, const Capture& capture, const std::string& captureFile,
                   std::span<const CheckPart> parts);

} // namespace keyreap
