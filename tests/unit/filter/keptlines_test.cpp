#include "hostlogger/filter/keptlines.h"
#include "hostlogger/filter/logline.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace keyreap {
namespace {

std::string Kept(std::string_view line) {
    std::string kept;
    AppendKeptPart(line, kept);
    return kept;
}

std::string WithLineBreak(std::string_view line) {
    return std::string(line) + '\n';
}

TEST(AppendKeptPart, RequestsAboutKeysHandlesAndProcessesAreKept) {
    for (const char* line :
         {R"(0024: create_key( access=000f003f, objattr={rootdir=0028,name=L"A"}, class=L"" ))",
          R"(0024: open_key( parent=0000, access=00020019, attributes=00000040, name=L"\\Registry" ))",
          "0024: delete_key( hkey=0004 )", R"(0024: delete_key_value( hkey=0004, name=L"V" ))",
          R"(0024: rename_key( hkey=0004, name=L"B" ))", R"(0024: get_key_value( hkey=0004, name=L"V" ))",
          "0024: close_handle( handle=0034 )", "0024: dup_handle( src_process=ffffffff, src_handle=0004 )",
          "0024: set_handle_info( handle=0004, flags=1, mask=1 )", "0024: open_process( pid=0020 )",
          "0024: new_thread( process=0060, flags=00000001 )", "0024: get_mapping_info( handle=0008 )",
          "0024: get_process_debug_info( handle=ffffffff )", "0024: init_first_thread( unix_pid=986 )"}) {
        EXPECT_EQ(Kept(line), WithLineBreak(line));
    }
}

TEST(AppendKeptPart, TheirRepliesAreKept) {
    for (const char* line :
         {"0024: create_key() = OBJECT_NAME_EXISTS { hkey=0004 }", "0024: close_handle() = 0",
          "0024: new_process() = 0 { info=005c, pid=00ec, handle=0060 }",
          "0024: set_key_value() = ACCESS_DENIED"}) {
        EXPECT_EQ(Kept(line), WithLineBreak(line));
    }
}

TEST(AppendKeptPart, TheServersOwnLinesAboutThreadsProcessesAndKeysAreKept) {
    for (const char* line :
         {"00e0: *killed* exit_code=0", "00d4: *process killed*", R"(Open key REGISTRY\\Machine)",
          R"(Create key REGISTRY\\Machine\\A)", "wineserver: starting (pid=17)"}) {
        EXPECT_EQ(Kept(line), WithLineBreak(line));
    }
}

TEST(AppendKeptPart, AllOtherLinesAreDropped) {
    for (const char* line : {"",
                             " ",
                             "time 5",
                             "lost",
                             "0024: select( flags=2 )",
                             "0024: select() = 0",
                             "0024: *wakeup* signaled=0",
                             "0024: *fd* 0004 -> 20",
                             "0024: write_process_memory( handle=0004, data={00} )",
                             R"(0024: enum_key_value() = 0 { type=1, name=L"TEMP", data={41,00} })",
                             R"(Set key REGISTRY\\A value "B"="secret")",
                             R"(Get key REGISTRY\\A value "B"="secret")",
                             "0024: get_new_process_info() = 0 { success=1 }",
                             "0024: get_startup_info() = 0 { env=L\"A=B\" }",
                             "close_handle( handle=0034 )",
                             "zz: close_handle( handle=0034 )",
                             "0024: my_close_handle( handle=0034 )",
                             "0024: close_handles( handle=0034 )",
                             "0024:close_handle( handle=0034 )",
                             "Opened key",
                             "0024: Open key REGISTRY",
                             "0024:  *killed*"}) {
        EXPECT_EQ(Kept(line), "") << line;
    }
}

TEST(AppendKeptPart, TheDataOfAValueIsRemoved) {
    EXPECT_EQ(Kept(R"(0024: set_key_value( hkey=0034, type=4, namelen=8, name=L"V", data={05,00,00,00} ))"),
              WithLineBreak(R"(0024: set_key_value( hkey=0034, type=4, namelen=8, name=L"V" ))"));
    EXPECT_EQ(Kept("0024: get_key_value() = 0 { type=1, total=4, data={41,00} }"),
              WithLineBreak("0024: get_key_value() = 0 { type=1, total=4 }"));
}

TEST(AppendKeptPart, TheEnvironmentOfAProcessIsRemoved) {
    EXPECT_EQ(
        Kept(R"(0024: new_process( token=0000, flags=00000004, objattr={name=L""}, handles={0004}, jobs={}, )"
             R"(info={debug_flags=0,cmdline=L"secret"}, env=L"A=secret\0" ))"),
        WithLineBreak(
            R"(0024: new_process( token=0000, flags=00000004, objattr={name=L""}, handles={0004}, jobs={} ))"));
}

// What is kept of a request for a process that is given this.
std::string KeptOfStart(const std::string& info) {
    return Kept(R"(0024: new_process( flags=00000004, handles={}, jobs={}, info={debug_flags=0,)" + info +
                R"(}, env=L"A=secret\0imagepath=L\"C:\\secret.exe\"" ))");
}

std::string WithImage(const std::string& name) {
    return WithLineBreak("0024: new_process( flags=00000004, handles={}, jobs={}" + name + " )");
}

TEST(AppendKeptPart, OfAProcessTheFileNameOfItsImageIsKept) {
    EXPECT_EQ(KeptOfStart(R"(curdir=L"C:\\secret",imagepath=L"C:\\secret\\child.exe",cmdline=L"secret")"),
              WithImage(R"(, image=L"child.exe")"));
    EXPECT_EQ(KeptOfStart(R"(imagepath=L"child.exe")"), WithImage(R"(, image=L"child.exe")"));
    EXPECT_EQ(KeptOfStart(R"(imagepath=L"C:\\secret\\a\"b.exe",cmdline=L"secret")"),
              WithImage(R"(, image=L"a\"b.exe")"));
}

TEST(AppendKeptPart, NoOtherTextOfAProcessIsTakenForItsImage) {
    EXPECT_EQ(KeptOfStart(R"(curdir=L"imagepath=L\"C:\\secret",imagepath=L"",cmdline=L"secret")"),
              WithImage(""));
    EXPECT_EQ(KeptOfStart(R"(cmdline=L"imagepath=L\"secret.exe")"), WithImage(""));
}

TEST(AppendKeptPart, AnImageWhoseNameIsCutOffIsNotKept) {
    EXPECT_EQ(Kept(R"(0024: new_process( flags=00000004, jobs={}, info={imagepath=L"C:\\secret\\chi)"),
              WithLineBreak("0024: new_process( flags=00000004, jobs={} )"));
}

TEST(AppendKeptPart, TheNameOfAValueCannotHideItsData) {
    EXPECT_EQ(Kept(R"(0024: set_key_value( hkey=0034, name=L"a\", data={b", data={05} ))"),
              WithLineBreak(R"(0024: set_key_value( hkey=0034, name=L"a\", data={b" ))"));
    EXPECT_EQ(Kept(R"(0024: set_key_value( hkey=0034, name=L"a\\", data={05} ))"),
              WithLineBreak(R"(0024: set_key_value( hkey=0034, name=L"a\\" ))"));
}

TEST(AppendKeptPart, ItAppends) {
    std::string kept = "before\n";
    AppendKeptPart("0024: close_handle() = 0", kept);
    EXPECT_EQ(kept, "before\n0024: close_handle() = 0\n");
}

// What is kept of a text that comes in pieces of this size.
std::string KeptOf(std::string_view text, std::size_t size) {
    KeptLines lines;
    std::string kept;
    for (; !text.empty(); text.remove_prefix(std::min(size, text.size()))) {
        lines.Take(text.substr(0, size), kept);
    }
    return kept;
}

constexpr std::string_view sampleLog = "0024: close_handle( handle=0034 )\n"
                                       "0024: select( flags=2 )\n"
                                       "\n"
                                       "0024: close_handle() = 0\n"
                                       "0024: set_key_value( hkey=0034, name=L\"V\", data={05,00} )\n"
                                       "Open key REGISTRY\n";
constexpr std::string_view keptSample = "0024: close_handle( handle=0034 )\n"
                                        "0024: close_handle() = 0\n"
                                        "0024: set_key_value( hkey=0034, name=L\"V\" )\n"
                                        "Open key REGISTRY\n";

TEST(KeptLines, LinesMayBeSplitAnywhere) {
    for (std::size_t size = 1; size <= sampleLog.size(); ++size) {
        EXPECT_EQ(KeptOf(sampleLog, size), keptSample) << size;
    }
}

TEST(KeptLines, ALineWithoutItsEndWaits) {
    KeptLines lines;
    std::string kept;
    lines.Take("0024: close_handle() = 0", kept);
    EXPECT_TRUE(kept.empty());
    lines.Take("\n", kept);
    EXPECT_EQ(kept, "0024: close_handle() = 0\n");
}

TEST(KeptLines, AnOverlongLineCountsAsItsBeginning) {
    const std::string begin = "0024: open_key( parent=0000, name=L\"";
    const std::string line =
        begin + std::string(3 * maximumLineLength, 'a') + "\n" + "0024: open_key() = 0\n";
    for (const std::size_t size : {line.size(), std::size_t{65536}}) {
        const std::string kept = KeptOf(line, size);
        EXPECT_EQ(kept.size(), maximumLineLength + 1 + std::string("0024: open_key() = 0\n").size());
        EXPECT_TRUE(kept.starts_with(begin + "aaa"));
        EXPECT_TRUE(kept.ends_with("a\n0024: open_key() = 0\n"));
    }
}

TEST(KeptLines, ThePrivatePartOfAnOverlongLineIsRemovedToo) {
    const std::string line = "0024: set_key_value( hkey=0034, name=L\"V\", data={" +
                             std::string(3 * maximumLineLength, '0') + "} )\n";
    EXPECT_EQ(KeptOf(line, 65536), "0024: set_key_value( hkey=0034, name=L\"V\" )\n");
}

TEST(KeptLines, RandomBytesAreAccepted) {
    std::mt19937 random(1);
    constexpr std::string_view letters = "0: *(){}=\"\\,\nacdekloprsty_\xff";
    std::string text;
    for (int count = 0; count < 200'000; ++count) {
        text += letters[random() % letters.size()];
    }
    EXPECT_EQ(KeptOf(text, 7), KeptOf(text, text.size()));
}

} // namespace
} // namespace keyreap
