#include "tools/box/bubblewrap.h"

#include "tools/box/boxplaces.h"
#include "tools/box/descriptors.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <sstream>
#include <utility>

namespace keyreap {
namespace {

// What Wine needs of the system: its modules, libraries, fonts, and the time of this place. No folder of
// programs.
constexpr std::initializer_list<const char*> systemFolders = {"/usr/lib/x86_64-linux-gnu",
                                                              "/usr/lib/wine",
                                                              "/usr/lib64",
                                                              "/usr/lib/locale",
                                                              "/usr/share/wine",
                                                              "/usr/share/fonts",
                                                              "/usr/share/fontconfig",
                                                              "/usr/share/X11",
                                                              "/usr/share/zoneinfo",
                                                              "/etc/fonts",
                                                              "/etc/ld.so.cache",
                                                              "/etc/localtime",
                                                              "/etc/timezone",
                                                              "/var/cache/fontconfig"};

// Folders and files of /proc that root may write to by its number alone, without a capability. Bubblewrap
// covers those only whose folder is writable itself.
constexpr std::initializer_list<const char*> kernelSettings = {
    "/proc/sys",  "/proc/sysrq-trigger", "/proc/irq", "/proc/bus",  "/proc/fs",      "/proc/acpi",
    "/proc/scsi", "/proc/driver",        "/proc/tty", "/proc/mtrr", "/proc/pressure"};

// What /proc has of the whole machine for root, whose words and keys may be secret.
constexpr std::initializer_list<const char*> secrets = {
    "/proc/cmdline",    "/proc/keys",       "/proc/key-users",   "/proc/kcore",
    "/proc/kpagecount", "/proc/kpageflags", "/proc/kpagecgroup", "/proc/sched_debug",
    "/proc/slabinfo",   "/proc/timer_list", "/proc/vmallocinfo"};

constexpr const char* displaySockets = "/tmp/.X11-unix/X";

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

std::string ContentsOf(const char* path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return std::move(text).str();
}

void AddAll(std::vector<std::string>& words, std::initializer_list<std::string> more) {
    words.insert(words.end(), more);
}

std::vector<std::string> TemporaryFolder(const std::string& path, std::uint64_t size) {
    std::vector<std::string> words = {"--perms", "1777"};
    if (size != 0) {
        AddAll(words, {"--size", std::to_string(size)});
    }
    AddAll(words, {"--tmpfs", path});
    return words;
}

// The number of a display of this machine, as in ":0.0"; empty for any other display.
std::string DisplayNumber(const std::string& display) {
    if (!display.starts_with(':')) {
        return {};
    }
    return display.substr(1, display.find('.') - 1);
}

void AddDisplay(BoxPlaces& places, std::vector<std::string>& variables) {
    const std::string display = Variable("DISPLAY");
    const std::string number = DisplayNumber(display);
    if (number.empty()) {
        return;
    }
    places.See(displaySockets + number);
    std::string key = Variable("XAUTHORITY");
    if (key.empty()) {
        key = Variable("HOME") + "/.Xauthority";
    }
    places.See(key);
    variables.push_back("DISPLAY=" + display);
    variables.push_back("XAUTHORITY=" + key);
}

void AddPlaces(BoxPlaces& places, const BoxWords& words) {
    for (const char* folder : systemFolders) {
        places.See(folder);
    }
    for (const auto& [link, target] : {std::pair("/lib", "usr/lib"), std::pair("/lib64", "usr/lib64")}) {
        places.Put(link, {"--symlink", target, link});
    }
    places.Put("/proc", {"--proc", "/proc"});
    for (const char* path : kernelSettings) {
        places.Put(path, {"--ro-bind-try", path, path});
    }
    for (const char* path : secrets) {
        if (std::filesystem::exists(path)) {
            places.Put(path, {"--ro-bind", "/dev/null", path});
        }
    }
    places.Put("/dev", {"--dev", "/dev"});
    // Memory that is mapped from it stays, like anonymous shared memory (callfilter.cpp).
    places.Put("/dev/zero", {"--dev-bind", "/dev/null", "/dev/zero"});
    places.Put("/dev/shm", TemporaryFolder("/dev/shm", words.ceilings.temporary));
    places.Put("/tmp", TemporaryFolder("/tmp", words.ceilings.temporary));
    for (const std::string& input : words.inputs) {
        places.AddInput(input);
    }
    for (const std::string& path : words.seen) {
        places.See(path);
    }
    for (const std::string& path : words.changed) {
        places.Change(path);
    }
    for (const std::string& output : words.outputs) {
        places.Change(output);
    }
    for (const auto& [file, path] : words.placed) {
        places.Put(path, {"--bind", file, path});
    }
    places.Change(words.prefix);
    if (!words.hidden.empty()) {
        places.Put(words.hidden, {"--perms", "0500", "--size", "4096", "--tmpfs", words.hidden,
                                  "--remount-ro", words.hidden});
    }
}

std::vector<std::string> VariablesOf(const BoxWords& words) {
    std::vector<std::string> variables = words.variables;
    // The time zone is the only thing of the caller's that Wine itself asks for.
    for (const std::string& name : {std::string("TZ")}) {
        if (const char* value = std::getenv(name.c_str())) {
            variables.push_back(name + "=" + value);
        }
    }
    for (const std::string& name : words.passed) {
        if (const char* value = std::getenv(name.c_str())) {
            variables.push_back(name + "=" + value);
        }
    }
    return variables;
}

} // namespace

std::vector<std::string> BubblewrapWords(const BoxWords& words, bool hasUsers) {
    std::vector<std::string> result = {"--unshare-pid",
                                       "--unshare-net",
                                       "--unshare-ipc",
                                       "--unshare-uts",
                                       "--cap-drop",
                                       "ALL",
                                       "--die-with-parent",
                                       "--new-session",
                                       "--unshare-cgroup-try",
                                       "--clearenv",
                                       "--chdir",
                                       "/",
                                       "--info-fd",
                                       std::to_string(boxdescriptor::info)};
    AddAll(result, {"--seccomp", std::to_string(boxdescriptor::calls)});
    if (hasUsers) {
        AddAll(result, {"--unshare-user", "--disable-userns"});
    }
    BoxPlaces places(WideFolders(ContentsOf("/etc/passwd"), Variable("HOME")));
    std::vector<std::string> variables = VariablesOf(words);
    if (words.hasDisplay) {
        AddDisplay(places, variables);
    }
    AddPlaces(places, words);
    const std::vector<std::string> placed = places.Words();
    result.insert(result.end(), placed.begin(), placed.end());
    // These are file systems of the box's own, and would be written to the machine's memory.
    AddAll(result, {"--remount-ro", "/dev", "--remount-ro", "/"});
    for (const std::string& variable : variables) {
        const std::size_t end = variable.find('=');
        AddAll(result, {"--setenv", variable.substr(0, end), variable.substr(end + 1)});
    }
    return result;
}

} // namespace keyreap
