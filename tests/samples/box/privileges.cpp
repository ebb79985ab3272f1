// What only a privileged process may do, or one with namespaces of its own.
#include "tests/samples/box/means.h"

#include <algorithm>

namespace keyreap::samples::box {

namespace {

constexpr Word changeMount = 32;
constexpr Word bind = 4096;
constexpr Word withMountsBelow = 16384;

Word NewNamespaces(const Arguments& arguments, Text&) {
    return Call(System::Unshare, arguments.NumberAt(0));
}

Word EnterNamespace(const Arguments& arguments, Text&) {
    const Word space = Call(System::Open, arguments[0], reading);
    return space < 0 ? space : Call(System::Enter, space, 0);
}

// Where the process may have mounts of its own, what the ways mount is its own too, and harms nobody.
void SeparateMounts() {
    constexpr Word ofMounts = 0x20000;
    Call(System::Unshare, ofMounts);
}

Word MountNew(const Arguments& arguments, Text&) {
    SeparateMounts();
    return Call(System::Mount, "none", arguments[1], arguments[0], 0, nullptr);
}

Word MountFolder(const Arguments& arguments, Text&) {
    SeparateMounts();
    return Call(System::Mount, arguments[0], arguments[1], nullptr, bind | withMountsBelow, nullptr);
}

// Makes a read-only mount writable, and writes to a file of it.
Word MakeWritable(const Arguments& arguments, Text&) {
    SeparateMounts();
    const Word changed = Call(System::Mount, nullptr, arguments[0], nullptr, changeMount | bind, nullptr);
    if (changed < 0) {
        return changed;
    }
    const Word file = Call(System::Open, arguments[1], writing | creating, 0666);
    return file < 0 ? file : WriteMark(file);
}

// The fields of a line of the kernel's list: the fifth is the folder, the sixth its options.
struct MountLine {
    explicit MountLine(std::string_view line) {
        constexpr int fieldsBefore = 4;
        for (int field = 0; field < fieldsBefore; ++field) {
            line.remove_prefix(std::min(line.find(' '), line.size() - 1) + 1);
        }
        folder = line.substr(0, line.find(' '));
        isReadOnly = line.substr(folder.size()).starts_with(" ro");
    }

    std::string_view folder;
    bool isReadOnly = false;
};

bool ChangesToWritable(const MountLine& mount) {
    char path[256] = {};
    mount.folder.copy(path, sizeof(path) - 1);
    return mount.isReadOnly &&
           Call(System::Mount, nullptr, &path[0], nullptr, changeMount | bind, nullptr) == 0;
}

// The first read-only mount in sight that can be changed.
Word MakeAllWritable(const Arguments&, Text& got) {
    static char list[0x10000];
    SeparateMounts();
    const Word file = Call(System::Open, "/proc/self/mountinfo", reading);
    std::size_t size = 0;
    for (Word part = 0;
         part >= 0 && (part = Call(System::Read, file, &list[size], sizeof(list) - size)) > 0;) {
        size += static_cast<std::size_t>(part);
    }
    std::string_view rest(list, size);
    bool isChanged = false;
    while (!rest.empty() && !isChanged) {
        const MountLine mount(rest.substr(0, rest.find('\n')));
        isChanged = ChangesToWritable(mount);
        got.Append(isChanged ? mount.folder : "");
        rest.remove_prefix(std::min(rest.find('\n'), rest.size() - 1) + 1);
    }
    return isChanged ? 0 : -1;
}

Word ChangeRoot(const Arguments& arguments, Text&) {
    return Call(System::ChangeRoot, arguments[0]);
}

// The device of a disk, by its number.
Word MakeDisk(const Arguments& arguments, Text&) {
    constexpr int blockDevice = 060666;
    const Word made = Call(System::MakeNode, arguments[0], blockDevice, arguments.NumberAt(1));
    Call(System::Remove, arguments[0]);
    return made;
}

constexpr Way ways[] = {
    {"unshare", NewNamespaces}, {"setns", EnterNamespace},       {"mount", MountNew},
    {"bind", MountFolder},      {"remount", MakeWritable},       {"chroot", ChangeRoot},
    {"mknod", MakeDisk},        {"remountall", MakeAllWritable},
};

} // namespace

std::span<const Way> PrivilegeWays() {
    return ways;
}

} // namespace keyreap::samples::box
