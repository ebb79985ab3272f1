#pragma once

#include <string>

namespace keyreap {

// A Wine prefix in memory, as scripts/session.sh renews one, in a mount namespace of this process alone. It
// is gone with this process and its children. Throws std::system_error where the system doesn't let it be
// made.
class PrivatePrefix {
public:
    // `wine` has the base. `temporary` is the most that the files may take, in megabytes.
    PrivatePrefix(const std::string& wine, const std::string& prefix, const std::string& temporary);

    // The text of a file that the session's programs outside of the box have left.
    std::string Note(const std::string& name) const;

private:
    void HoldBase() const;
    void MakeNamespace() const;
    void MountDrive(const std::string& temporary) const;
    void PlaceStartRecording() const;
    void MakeNotes() const;

    const std::string wine;
    const std::string base;
    const std::string prefix;
};

} // namespace keyreap
