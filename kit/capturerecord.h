#pragma once

#include "kit/batch/capturedone.h"

#include <map>
#include <string>
#include <vector>

namespace keyreap {

// What the captures in a folder follow from, as far as a run of captures has recorded it. Each file is read
// once.
class CaptureRecord {
public:
    // `folder` has the captures, and perhaps the record of an earlier run.
    explicit CaptureRecord(std::string folder);

    // What a capture of this server follows from now, without the capture itself.
    CaptureDone StateOf(const std::string& server, const std::string& mode, const std::string& version);

    // True if the capture is there as it was made, from the same state.
    bool IsUnchanged(const std::string& capture, CaptureDone state) const;

    // Records a capture, or that there is none. Returns false if the record can't be written.
    bool Add(const std::string& capture, CaptureDone state);
    bool Remove(const std::string& capture);

private:
    std::string NameOf(const std::string& capture) const;
    bool Write() const;
    const std::string& DigestOfFile(const std::string& file);
    const std::map<std::string, std::string>& NamesIn(const std::string& folder);
    void AddFile(const std::string& file, CaptureDone& state);

    const std::string folder;
    CapturesDone done;
    std::map<std::string, std::string> digests;
    std::map<std::string, std::vector<std::string>> libraries; // of each file that was read, as it names them
    std::map<std::string, std::map<std::string, std::string>> folders; // names by their folded form
};

} // namespace keyreap
