#include "kit/hostfiles.h"
#include "kit/privateprefix.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace keyreap {

namespace {

namespace fs = std::filesystem;

void Require(bool isDone, const char* what) {
    if (!isDone) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

void Mount(const char* source, const char* target, const char* type, unsigned long flags,
           const char* options) {
    Require(mount(source, target, type, flags, options) == 0, target);
}

void TakeTimes(const fs::path& from, const fs::path& to) {
    struct stat status {};
    Require(lstat(from.c_str(), &status) == 0, from.c_str());
    const std::array<timespec, 2> times = {status.st_atim, status.st_mtim};
    Require(utimensat(AT_FDCWD, to.c_str(), times.data(), AT_SYMLINK_NOFOLLOW) == 0, to.c_str());
}

// With all times. A folder's come last, since its files change them.
void CopyFolder(const fs::path& from, const fs::path& to) {
    for (const fs::directory_entry& entry : fs::directory_iterator(from)) {
        const fs::path place = to / entry.path().filename();
        if (entry.is_directory() && !entry.is_symlink()) {
            fs::create_directory(place, entry.path());
            CopyFolder(entry.path(), place);
        } else {
            fs::copy(entry.path(), place, fs::copy_options::copy_symlinks);
            TakeTimes(entry.path(), place);
        }
    }
    TakeTimes(from, to);
}

// Wine's server and its programs share one limit.
void AllowOpenFiles() {
    constexpr rlim_t usual = 4096;
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < usual) {
        limit.rlim_cur = std::min(usual, limit.rlim_max);
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

} // namespace

PrivatePrefix::PrivatePrefix(const std::string& wine, const std::string& prefix, const std::string& temporary)
    : wine(wine), base(wine + "/base"), prefix(prefix) {
    AllowOpenFiles();
    HoldBase();
    MakeNamespace();
    MountDrive(temporary);
    fs::create_directory(prefix + "/home");
    PlaceStartRecording();
    MakeNotes();
}

// As hold_base in scripts/isolation.sh: for the whole session.
void PrivatePrefix::HoldBase() const {
    const int begun = open((wine + "/base.lock").c_str(), O_RDONLY | O_CLOEXEC);
    Require(begun != -1 && flock(begun, LOCK_SH) == 0, "base.lock");
    const int used = open((base + "/version").c_str(), O_RDONLY | O_CLOEXEC);
    Require(used != -1 && flock(used, LOCK_SH) == 0, "version");
}

void PrivatePrefix::MakeNamespace() const {
    Require(unshare(CLONE_NEWNS) == 0, "a mount namespace");
    Mount("none", "/", nullptr, MS_REC | MS_SLAVE, nullptr);
}

void PrivatePrefix::MountDrive(const std::string& temporary) const {
    Mount("keyreap", prefix.c_str(), "tmpfs", 0, ("mode=755,size=" + temporary + "m").c_str());
    const std::string drive = prefix + "/drive_c";
    for (const std::string& folder : {drive, prefix + "/overlay"}) {
        Require(mkdir(folder.c_str(), 0755) == 0, folder.c_str());
    }
    TakeTimes(base + "/drive_c", drive);
    fs::create_symlink(base + "/drive_c", prefix + "/base");
    const fs::path current = fs::current_path();
    // A comma or a colon would split an absolute path.
    fs::current_path(prefix);
    Mount("overlay", "drive_c", "overlay", 0,
          "volatile,redirect_dir=on,lowerdir=base,upperdir=drive_c,workdir=overlay");
    fs::current_path(current);
    CopyFolder(base + "/top", prefix);
    Mount(wine.c_str(), wine.c_str(), nullptr, MS_BIND | MS_REC, nullptr);
    Mount(nullptr, wine.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr);
}

void PrivatePrefix::PlaceStartRecording() const {
    const std::string recording = wine + "/start/recording.txt";
    const std::string placed = prefix + "/drive_c/windows/keyreap-start.txt";
    if (fs::exists(recording)) {
        fs::copy_file(recording, placed);
        TakeTimes(recording, placed);
        TakeTimes(base + "/drive_c/windows", prefix + "/drive_c/windows");
    }
}

// The files that the programs of a session write to, as scripts/notes.sh opens them.
void PrivatePrefix::MakeNotes() const {
    fs::create_directory(prefix + "/notes");
    for (const char* note : {"/notes/mixedkeys", "/notes/unplacedlines", "/notes/box", "/crash"}) {
        Require(WriteWholeFile(prefix + note, {}), note);
    }
}

std::string PrivatePrefix::Note(const std::string& name) const {
    const auto bytes = ReadWholeFile(prefix + "/notes/" + name);
    return bytes ? std::string(bytes->begin(), bytes->end()) : std::string();
}

} // namespace keyreap
