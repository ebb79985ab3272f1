#include "kit/capturerecord.h"
#include "kit/checkfile.h"
#include "kit/hostfiles.h"
#include "pe/imageheaders.h"
#include "platform/core/text/compare.h"

#include <algorithm>
#include <filesystem>
#include <span>
#include <system_error>

namespace keyreap {

namespace {

namespace fs = std::filesystem;

std::string DigestOrNothing(const std::string& file) {
    const auto bytes = ReadWholeFile(file);
    return bytes ? DigestOf(*bytes) : std::string();
}

} // namespace

CaptureRecord::CaptureRecord(std::string place) : folder(std::move(place)) {
    if (const auto bytes = ReadWholeFile(NameOf(capturesDoneName))) {
        done = CapturesDoneIn(std::string(bytes->begin(), bytes->end()));
    }
}

std::string CaptureRecord::NameOf(const std::string& capture) const {
    return (fs::path(folder) / capture).string();
}

CaptureDone CaptureRecord::StateOf(const std::string& server, const std::string& mode,
                                   const std::string& version) {
    CaptureDone state = {{}, mode, version, {}};
    AddFile(server, state);
    std::ranges::sort(state.files);
    return state;
}

bool CaptureRecord::IsUnchanged(const std::string& capture, CaptureDone state) const {
    const auto found = done.find(capture);
    if (found == done.end()) {
        return false;
    }
    state.digest = DigestOrNothing(NameOf(capture));
    return !state.digest.empty() && state == found->second;
}

bool CaptureRecord::Add(const std::string& capture, CaptureDone state) {
    state.digest = DigestOrNothing(NameOf(capture));
    done[capture] = std::move(state);
    return Write();
}

bool CaptureRecord::Remove(const std::string& capture) {
    return done.erase(capture) == 0 || Write();
}

bool CaptureRecord::Write() const {
    // A run that is killed leaves the old record or the new one.
    const std::string file = NameOf(capturesDoneName);
    std::error_code error;
    if (!WriteWholeFile(file + ".new", CapturesDoneText(done))) {
        return false;
    }
    fs::rename(file + ".new", file, error);
    return !error;
}

const std::string& CaptureRecord::DigestOfFile(const std::string& file) {
    const auto [found, isNew] = digests.try_emplace(file);
    if (isNew) {
        if (const auto bytes = ReadWholeFile(file)) {
            found->second = DigestOf(*bytes);
            for (const std::string_view name : ImageHeaders(std::as_bytes(std::span(*bytes))).Libraries()) {
                libraries[file].emplace_back(name);
            }
        }
    }
    return found->second;
}

const std::map<std::string, std::string>& CaptureRecord::NamesIn(const std::string& place) {
    const auto [found, isNew] = folders.try_emplace(place);
    std::error_code error;
    if (isNew) {
        for (fs::directory_iterator entry(place, error), end; !error && entry != end;
             entry.increment(error)) {
            const std::string name = entry->path().filename().string();
            found->second.try_emplace(FoldedBytes(name), name);
        }
    }
    return found->second;
}

void CaptureRecord::AddFile(const std::string& file, CaptureDone& state) {
    const auto isIt = [&file](const auto& known) { return known.first == file; };
    if (std::ranges::any_of(state.files, isIt)) {
        return;
    }
    state.files.emplace_back(file, DigestOfFile(file));
    const fs::path place = fs::path(file).parent_path();
    const std::map<std::string, std::string>& names = NamesIn(place.string());
    for (const std::string& library : libraries[file]) {
        if (const auto found = names.find(FoldedBytes(library)); found != names.end()) {
            AddFile((place / found->second).string(), state);
        }
    }
}

} // namespace keyreap
