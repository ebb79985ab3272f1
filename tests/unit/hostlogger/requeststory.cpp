#include "tests/unit/hostlogger/requeststory.h"

#include <array>
#include <charconv>

namespace keyreap {

namespace {

std::string Hex(std::uint32_t number) {
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    const std::string text(digits.data(), end);
    return text.size() < 4 ? std::string(4 - text.size(), '0') + text : text;
}

std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char letter : text) {
        if (letter == '\\' || letter == '"') {
            escaped += '\\';
        }
        escaped += letter;
    }
    return escaped;
}

std::string Quoted(std::string_view text) {
    return "L\"" + Escaped(text) + '"';
}

} // namespace

void RequestStory::Line(std::string_view line) {
    lines.emplace_back(line);
    tracker.Feed(line, listening ? &reported : nullptr);
}

void RequestStory::Ask(std::uint32_t thread, std::string_view name, std::string_view fields) {
    Line(Hex(thread) + ": " + std::string(name) + "( " + std::string(fields) + " )");
}

void RequestStory::Answer(std::uint32_t thread, std::string_view name, std::string_view status,
                          std::string_view fields) {
    const std::string structure = fields.empty() ? std::string() : " { " + std::string(fields) + " }";
    Line(Hex(thread) + ": " + std::string(name) + "() = " + std::string(status) + structure);
}

void RequestStory::Process(std::uint32_t process, std::uint32_t thread, const char* machine) {
    FirstThread(process, thread);
    MapImage(thread, machine);
    ReachEntryPoint(thread);
}

void RequestStory::FirstThread(std::uint32_t process, std::uint32_t thread) {
    Ask(thread, "init_first_thread", "unix_pid=986, unix_tid=986, debug_level=0, reply_fd=7, wait_fd=9");
    Answer(thread, "init_first_thread", "0",
           "pid=" + Hex(process) + ", tid=" + Hex(thread) + ", info_size=0, machines={8664,014c}");
}

void RequestStory::MapImage(std::uint32_t thread, const char* machine, const char* flags) {
    Ask(thread, "get_mapping_info", "handle=0008, access=0000000d");
    Answer(thread, "get_mapping_info", "0",
           "size=00021000, image={base=140000000,machine=" + std::string(machine) +
               ",contains_code=1,image_flags=" + flags + "}, name=L\"\"");
}

void RequestStory::ReachEntryPoint(std::uint32_t thread, std::uint32_t process) {
    Ask(thread, "get_process_debug_info", "handle=" + Hex(process));
    Answer(thread, "get_process_debug_info", "0", "debug=0000, debug_children=1, image={}");
}

void RequestStory::NewProcess(std::uint32_t thread, std::uint32_t child, std::uint32_t handle,
                              std::uint32_t flags, std::string_view handles, std::uint32_t parent,
                              std::string_view image) {
    Ask(thread, "new_process",
        "token=0000, debug=0000, parent_process=" + Hex(parent) + ", flags=" + Hex(flags) +
            ", objattr={rootdir=0000,attributes=00000000,sd={},name=L\"\"}, handles={" +
            std::string(handles) + "}, jobs={}" + (image.empty() ? "" : ", image=" + Quoted(image)));
    Answer(thread, "new_process", "0", "info=005c, pid=" + Hex(child) + ", handle=" + Hex(handle));
}

void RequestStory::NewThread(std::uint32_t thread, std::uint32_t process, std::uint32_t newThread) {
    Ask(thread, "new_thread", "process=" + Hex(process) + ", access=001fffff, flags=00000001");
    Answer(thread, "new_thread", "0", "tid=" + Hex(newThread) + ", handle=0f04");
}

void RequestStory::OpenProcess(std::uint32_t thread, std::uint32_t process, std::uint32_t handle) {
    Ask(thread, "open_process", "pid=" + Hex(process) + ", access=00000040, attributes=00000000");
    Answer(thread, "open_process", "0", "handle=" + Hex(handle));
}

void RequestStory::KillThread(std::uint32_t thread) {
    Line(Hex(thread) + ": *killed* exit_code=0");
}

void RequestStory::KillProcess(std::uint32_t process) {
    Line(Hex(process) + ": *process killed*");
}

void RequestStory::ReportPath(std::string_view verb, const KeyQuestion& question) {
    if (!question.realPath.empty()) {
        Line(std::string(verb) + " key " + Escaped(question.realPath));
    }
}

void RequestStory::Create(std::uint32_t thread, std::string_view name, std::uint32_t handle,
                          const KeyQuestion& question) {
    Ask(thread, "create_key",
        "access=" + Hex(question.access) + ", options=00000000, objattr={rootdir=" + Hex(question.parent) +
            ",attributes=" + Hex(question.attributes) + ",sd={},name=" + Quoted(name) + "}, class=L\"\"");
    ReportPath("Create", question);
    Answer(thread, "create_key", question.status, "hkey=" + Hex(handle));
}

void RequestStory::Open(std::uint32_t thread, std::string_view name, std::uint32_t handle,
                        const KeyQuestion& question) {
    Ask(thread, "open_key",
        "parent=" + Hex(question.parent) + ", access=" + Hex(question.access) +
            ", attributes=" + Hex(question.attributes) + ", name=" + Quoted(name));
    ReportPath("Open", question);
    Answer(thread, "open_key", question.status, "hkey=" + Hex(handle));
}

void RequestStory::UnansweredOpen(std::uint32_t thread) {
    Ask(thread, "open_key", R"(parent=0004, access=00020019, attributes=00000040, name=L"A")");
}

void RequestStory::SetValue(std::uint32_t thread, std::uint32_t handle, std::string_view name,
                            std::string_view status) {
    Ask(thread, "set_key_value", "hkey=" + Hex(handle) + ", type=4, namelen=8, name=" + Quoted(name));
    Answer(thread, "set_key_value", status);
}

void RequestStory::DeleteValue(std::uint32_t thread, std::uint32_t handle, std::string_view name) {
    Ask(thread, "delete_key_value", "hkey=" + Hex(handle) + ", name=" + Quoted(name));
    Answer(thread, "delete_key_value", "0");
}

void RequestStory::QueryValue(std::uint32_t thread, std::uint32_t handle, std::string_view name) {
    Ask(thread, "get_key_value", "hkey=" + Hex(handle) + ", name=" + Quoted(name));
    Answer(thread, "get_key_value", "0", "type=4, total=4");
}

void RequestStory::DeleteKey(std::uint32_t thread, std::uint32_t handle, std::string_view status) {
    Ask(thread, "delete_key", "hkey=" + Hex(handle));
    Answer(thread, "delete_key", status);
}

void RequestStory::Rename(std::uint32_t thread, std::uint32_t handle, std::string_view name,
                          std::string_view status) {
    Ask(thread, "rename_key", "hkey=" + Hex(handle) + ", name=" + Quoted(name));
    Answer(thread, "rename_key", status);
}

void RequestStory::Close(std::uint32_t thread, std::uint32_t handle, std::string_view status) {
    Ask(thread, "close_handle", "handle=" + Hex(handle));
    Answer(thread, "close_handle", status);
}

void RequestStory::SetHandleInfo(std::uint32_t thread, std::uint32_t handle, int flags, int mask) {
    Ask(thread, "set_handle_info",
        "handle=" + Hex(handle) + ", flags=" + std::to_string(flags) + ", mask=" + std::to_string(mask));
    Answer(thread, "set_handle_info", "0", "old_flags=0");
}

void RequestStory::Duplicate(std::uint32_t thread, std::uint32_t source, std::uint32_t handle,
                             std::uint32_t target, std::uint32_t copy, std::uint32_t options,
                             std::uint32_t attributes) {
    Ask(thread, "dup_handle",
        "src_process=" + Hex(source) + ", src_handle=" + Hex(handle) + ", dst_process=" + Hex(target) +
            ", access=00000000, attributes=" + Hex(attributes) + ", options=" + Hex(options));
    Answer(thread, "dup_handle", copy == 0 ? "INVALID_HANDLE" : "0", "handle=" + Hex(copy));
}

std::wstring RequestStory::LastPath() {
    if (reported.requests.empty() || !reported.requests.back().key) {
        return {};
    }
    return reported.requests.back().key->Path(registry);
}

} // namespace keyreap
