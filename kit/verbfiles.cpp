#include "kit/verbfiles.h"

#include "kit/hostfiles.h"
#include "kit/refusal.h"
#include "kit/verb.h"
#include "platform/core/text/compare.h"
#include "platform/core/text/utf8.h"
#include "regmodel/regtextreader.h"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <utility>
#include <variant>

namespace keyreap {

namespace {

std::string SentenceOf(const EmitNote& note) {
    const EntryPlace& place = note.place;
    std::wstring sentence;
    if (!place.file.empty()) {
        sentence = place.file + (place.line == 0 ? L"" : L':' + std::to_wstring(place.line)) + L": ";
    }
    if (!place.key.empty()) {
        sentence += NameOfEntry(place) + L": ";
    }
    return ReadableUtf8(sentence + note.reason);
}

// All servers go to one folder.
void RefuseSameName(std::span<const ServerFile> servers) {
    const std::wstring& name = servers.back().server.fileName;
    const auto isSame = [&name](const ServerFile& other) { return EqualFolded(other.server.fileName, name); };
    if (std::ranges::count_if(servers, isSame) > 1) {
        throw Refusal("--server: there are two files of the name " + ReadableUtf8(name) +
                      ", and one folder gets them");
    }
}

} // namespace

std::vector<std::uint8_t> ReadCaptureBytes(const std::string& name) {
    auto bytes = ReadWholeFile(name);
    if (!bytes) {
        throw Refusal(name + ": the capture can't be read");
    }
    return std::move(*bytes);
}

Capture CaptureOf(const std::string& name, std::span<const std::uint8_t> bytes) {
    std::variant<RegDocument, RegReadError> document = ReadRegDocument(bytes);
    const std::wstring file = UnitsOfUtf8(name).value_or(L"?");
    if (const auto* const error = std::get_if<RegReadError>(&document)) {
        throw Refusal(ReadableUtf8(ErrorText(file, *error)));
    }
    return {file, std::get<RegDocument>(std::move(document))};
}

Capture ReadCapture(const std::string& name) {
    return CaptureOf(name, ReadCaptureBytes(name));
}

std::vector<Capture> ReadCaptures(const std::vector<std::string>& names) {
    std::vector<Capture> captures;
    std::ranges::transform(names, std::back_inserter(captures), ReadCapture);
    return captures;
}

std::vector<ServerFile> ReadServers(const std::vector<std::string>& words) {
    std::vector<ServerFile> servers;
    for (const std::string& word : words) {
        std::variant<ServerFile, std::string> server = ReadServer(word);
        if (const auto* const reason = std::get_if<std::string>(&server)) {
            throw Refusal(*reason);
        }
        servers.push_back(std::get<ServerFile>(std::move(server)));
        RefuseSameName(servers);
    }
    return servers;
}

void WriteResult(const std::string& name, std::string_view bytes) {
    if (name.empty()) {
        std::cout.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        std::cout.flush();
    }
    if (name.empty() ? !std::cout : !WriteWholeFile(name, bytes)) {
        throw Refusal((name.empty() ? "standard output" : name) + ": it can't be written");
    }
}

int SayNotes(std::span<const EmitNote> notes) {
    for (const EmitNote& note : notes) {
        Say(SentenceOf(note));
    }
    return notes.empty() ? statusWhole : statusIncomplete;
}

int StatusOf(const std::function<int()>& verb) {
    try {
        return verb();
    } catch (const Refusal& refusal) {
        Say(refusal.what());
        return statusRefused;
    }
}

} // namespace keyreap
