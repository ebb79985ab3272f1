#include "hostlogger/filter/logline.h"
#include "hostlogger/filter/unplacedlines.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace keyreap {
namespace {

UnplacedLines Checked(const std::vector<std::string>& log) {
    UnplacedLines lines;
    for (const std::string& line : log) {
        lines.Check(line);
    }
    return lines;
}

void ExpectPlaced(const std::vector<std::string>& log) {
    EXPECT_EQ(Checked(log).First(), "");
    EXPECT_EQ(Checked(log).Count(), 0U);
}

// Each line alone.
void ExpectUnplaced(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        EXPECT_EQ(Checked({line}).Count(), 1U) << line;
    }
}

TEST(UnplacedLines, RequestsAndRepliesOfKnownNamesArePlaced) {
    ExpectPlaced({"0024: select( flags=2 )", "0024: select() = PENDING { apc_handle=0000 }",
                  "0024: get_startup_info( )", "0024: flush() = 0",
                  "1002c: accept_hardware_message( hw_id=1 )",
                  "0024: write_process_memory( handle=0004, data={00} )", "0024: get_window_tree( )"});
}

TEST(UnplacedLines, ARequestOfOneOfTheTwoReleasesIsPlaced) {
    ExpectPlaced({"0024: get_directory_entry( handle=0004, index=00000000 )",
                  "0024: get_directory_entries( handle=0004, index=00000000 )",
                  "0024: set_keyboard_repeat( )"});
}

TEST(UnplacedLines, OtherRequestsAreUnplaced) {
    ExpectUnplaced({"0024: frobnicate_key( hkey=0004 )", "0024: frobnicate_key() = 0", "0024: 301(?)",
                    "0024: 301() = 0", "0024: create_keys( )", "0024: reate_key( )", "0024: Select( )",
                    "0024: select", "0024:select( )", "zz: select( )", "0024: ( )"});
}

TEST(UnplacedLines, KeptRequestsWithTheFieldsThatTheTrackerReadsArePlaced) {
    ExpectPlaced({
        "0024: close_handle( handle=0034 )",
        R"(0024: create_key( access=000f003f, options=00000000, objattr={rootdir=0028,attributes=000000c0,)"
        R"(sd={},name=L"A\"}, \\ \x20ac"}, class=L"" ))",
        R"(0024: create_key( access=000f003f, options=00000000, objattr={}, class=L"" ))",
        "0024: delete_key( hkey=0004 )",
        "0024: delete_key( hkey=0000 )",
        R"(0024: delete_key_value( hkey=0004, name=L"" ))",
        "0024: dup_handle( src_process=ffffffff, src_handle=0004, dst_process=ffffffff, access=00000000, "
        "attributes=00000000, options=00000002 )",
        R"(0024: get_key_value( hkey=0004, name=L"V" ))",
        "0024: get_mapping_info( handle=0008, access=00000004 )",
        "0024: get_process_debug_info( handle=ffffffff )",
        "0024: init_first_thread( unix_pid=986, unix_tid=986, debug_level=0, reply_fd=5, wait_fd=7 )",
        R"(0024: new_process( token=0000, parent_process=0000, flags=00000004, objattr={}, handles={0004,0008}, )"
        R"(jobs={}, info={debug_flags=0}, env=L"A=B\0" ))",
        "0024: new_thread( process=ffffffff, access=001fffff, flags=00000000, objattr={} )",
        R"(0024: open_key( parent=0000, access=00020019, attributes=00000040, name=L"\\Registry" ))",
        "0024: open_process( pid=0020, access=00001000, attributes=00000000 )",
        R"(0024: rename_key( hkey=0004, name=L"B" ))",
        "0024: set_handle_info( handle=0004, flags=1, mask=0 )",
        R"(0024: set_key_value( hkey=0034, type=4, namelen=2, name=L"V", data={05,00,00,00} ))",
    });
}

TEST(UnplacedLines, AKeptRequestWithoutOneOfTheseFieldsIsUnplaced) {
    ExpectUnplaced({
        "0024: close_handle( hand=0034 )",
        "0024: close_handle( )",
        R"(0024: create_key( access=000f003f, objattr={rootdir=0028,sd={},name=L"A"}, class=L"" ))",
        R"(0024: create_key( objattr={rootdir=0028,attributes=0,name=L"A"}, class=L"" ))",
        "0024: delete_key( )",
        "0024: delete_key_value( hkey=0004 )",
        "0024: dup_handle( src_process=ffffffff, src_handle=0004, dst_process=ffffffff, options=00000002 )",
        "0024: dup_handle( src_process=ffffffff, src_handle=0004, dst_process=ffffffff, access=00000000 )",
        R"(0024: get_key_value( key=0004, name=L"V" ))",
        "0024: get_process_debug_info( )",
        R"(0024: new_process( token=0000, parent_process=0000, flags=00000004, objattr={}, jobs={} ))",
        "0024: new_thread( access=001fffff )",
        R"(0024: open_key( parent=0000, access=00020019, name=L"\\Registry" ))",
        "0024: open_process( id=0020 )",
        "0024: rename_key( hkey=0004 )",
        "0024: set_handle_info( handle=0004, flags=1 )",
        "0024: set_key_value( hkey=0034, type=4, data={05,00,00,00} )",
    });
}

TEST(UnplacedLines, AFieldInAnotherFormIsUnplaced) {
    ExpectUnplaced({"0024: close_handle( handle=0x34 )", "0024: close_handle( handle= )",
                    "0024: close_handle( handle=000000034 )", "0024: delete_key( hkey=0004:1 )",
                    R"(0024: rename_key( hkey=0004, name="B" ))", "0024: rename_key( hkey=0004, name=L )",
                    R"(0024: new_process( parent_process=0000, flags=00000004, handles={a,handle=4} ))"});
}

TEST(UnplacedLines, ATextWithOtherEscapesIsUnplaced) {
    ExpectPlaced({R"(0024: rename_key( hkey=0004, name=L"\"\\[\[\]\a\b\t\n\v\f\r\e\0\177\x7f\xd800 ~}" ))",
                  "0024: rename_key( hkey=0004, name=L\"\x7F\" )"});
    ExpectUnplaced(
        {R"(0024: rename_key( hkey=0004, name=L"\u00e9" ))", R"(0024: rename_key( hkey=0004, name=L"\x" ))",
         R"(0024: rename_key( hkey=0004, name=L"\8" ))", "0024: rename_key( hkey=0004, name=L\"\xC3\xA9\" )",
         R"(0024: rename_key( hkey=0004, name=L"a"b" ))", R"(0024: rename_key( hkey=0004, name=L"a\" ))",
         R"(Create key REGISTRY\\A\u00e9)", "Open key REGISTRY\\\\\xC3\xA9"});
}

TEST(UnplacedLines, ANumberThatTheTrackerWouldNotReadIsUnplaced) {
    ExpectUnplaced({"0024: set_handle_info( handle=0004, flags=-1, mask=1 )", "0024: delete_key( hkey=-4 )"});
}

TEST(UnplacedLines, ASuccessMayBeANumber) {
    ExpectPlaced({"0024: create_key() = 40000000 { hkey=0004 }"});
    ExpectUnplaced({"0024: create_key() = 00000000 { key=0004 }", "0024: create_key() = 40000000 { }"});
}

TEST(UnplacedLines, AKeptRequestWithoutItsBracketsIsUnplaced) {
    ExpectUnplaced({"0024: close_handle( handle=0034", "0024: close_handle(handle=0034 )",
                    "0024: close_handle( handle=0034 ) later", "0024: close_handle() : 0",
                    "0024: close_handle() = 0 later", "0024: set_key_value() = ACCESS_DENIED { more"});
}

TEST(UnplacedLines, RepliesOfKeptRequestsArePlaced) {
    ExpectPlaced(
        {"0024: close_handle() = 0", "0024: close_handle() = INVALID_HANDLE",
         "0024: create_key() = 0 { hkey=0034 }", "0024: create_key() = OBJECT_NAME_EXISTS { hkey=0034 }",
         "0024: create_key() = c0000123", "0024: dup_handle() = 0 { handle=0034 }",
         "0024: get_key_value() = 0 { type=1, total=4, data={41,00} }",
         "0024: get_key_value() = OBJECT_NAME_NOT_FOUND { type=-1, total=0, data={} }",
         "0024: get_mapping_info() = 0 { total=146, image={base=1,machine=014c,image_flags=40}, name=L\"\" }",
         "0024: get_mapping_info() = 0 { total=0, image={}, name=L\"\" }",
         "0024: get_process_debug_info() = PORT_NOT_SET { debug=0000, image={} }",
         "0024: init_first_thread() = 0 { pid=0020, tid=0024, machines={8664,014c} }",
         "0024: new_process() = 0 { info=005c, pid=00ec, handle=0060 }",
         "0024: new_thread() = 0 { tid=00f0, handle=0064 }", "0024: open_key() = 0 { hkey=0004 }",
         "0024: open_process() = INVALID_CID { handle=0000 }", "0024: set_key_value() = ACCESS_DENIED"});
}

TEST(UnplacedLines, ASuccessfulReplyWithoutWhatTheTrackerReadsIsUnplaced) {
    ExpectUnplaced({"0024: create_key() = 0", "0024: create_key() = 0 { key=0034 }",
                    "0024: create_key() = OBJECT_NAME_EXISTS { }", "0024: dup_handle() = 0 { }",
                    "0024: get_mapping_info() = 0 { image={machine=014c} }",
                    "0024: get_mapping_info() = 0 { }", "0024: init_first_thread() = 0 { tid=0024 }",
                    "0024: new_process() = 0 { pid=00ec }", "0024: new_thread() = 0 { handle=0064 }",
                    "0024: open_key() = 0 { hkey=zz }", "0024: open_key() = 0 { hkey=0000 }",
                    "0024: create_key() = OBJECT_NAME_EXISTS { hkey=0000 }", "0024: open_process() = 0 { }"});
}

TEST(UnplacedLines, AReplyWithAnUnknownStatusIsUnplaced) {
    ExpectUnplaced({"0024: set_key_value() = NEVER_HEARD_OF", "0024: set_key_value() = ",
                    "0024: set_key_value() = -", "0024: create_key() = STILL_NAMED { hkey=0034 }"});
}

TEST(UnplacedLines, EventsOfThreadsAndProcessesArePlaced) {
    ExpectPlaced({"00e0: *killed* exit_code=-1073741823", "00d4: *process killed*",
                  "00e8: *signal* signal=19", "00e8: *signal* SIGSTOP", "00e8: *sent signal* signal=3",
                  "00e8: *sent signal* SIGQUIT", "00e8: *exited* status=0",
                  "00e8: *watchdog* waitpid aborted", "0020: *fd* 0001 -> 24", "0024: *fd* 7 <- 24",
                  "0024: *fd* 19 <- 193 bad thread id", "0024: *wakeup* signaled=0"});
    ExpectUnplaced({"00e0: *renamed*", "00e0: killed", "00e0: **"});
}

TEST(UnplacedLines, LinesAboutKeysArePlaced) {
    ExpectPlaced(
        {R"(Open key REGISTRY\\Machine)", R"(Create key REGISTRY\\Machine\\A)",
         R"(Set key REGISTRY\\A value "B"="se\ncret")", R"(Skip setting key REGISTRY\\A value "B"=dword:1)",
         R"(Get key REGISTRY\\A value "B"=str(2):"%A%")", R"(Enum key REGISTRY\\A)",
         R"(Delete key REGISTRY\\A)", R"(Rename key REGISTRY\\A\\New)",
         R"(Not saving clean key REGISTRY\\Machine)", R"(system.reg: saving key REGISTRY\\Machine)"});
    ExpectUnplaced(
        {"Open key ", R"(Open key Machine\\A)", R"(Move key REGISTRY\\A)", R"(open key REGISTRY\\A)"});
}

TEST(UnplacedLines, TheFurtherLinesOfAValueArePlaced) {
    ExpectPlaced({R"(Set key REGISTRY\\A value "B"=hex:00,01,\)", R"(  02,ff,\)", "  03", "0024: flush( )"});
    ExpectUnplaced({"  03", R"(  02,ff,\)"});
    EXPECT_EQ(Checked({R"(Set key REGISTRY\\A value "B"=hex:00,\)", "  03", "  04"}).Count(), 1U);
    EXPECT_EQ(Checked({R"(Set key REGISTRY\\A value "B"=hex:00,\)", "  03 "}).Count(), 1U);
    EXPECT_EQ(Checked({R"(Set key REGISTRY\\A value "B"=hex:00,\)", "0024: flush( )", "  03"}).Count(), 1U);
}

TEST(UnplacedLines, TheNameOfAUnixFileMayHaveLineBreaks) {
    ExpectPlaced({R"(0024: create_file( access=1, filename="/tmp/a)", "b", "0024: c\" )", "0024: flush( )"});
    ExpectPlaced({R"(0024: get_handle_unix_name() = 0 { name_len=9, name="/tmp/a)", "b\" }"});
    ExpectPlaced({R"(0024: create_file( filename="/tmp/a ))", R"(b" ))"});
    ExpectPlaced({R"(0024: create_file( filename="/tmp/a" ))", "0024: flush( )"});
    ExpectPlaced({R"(0024: get_handle_unix_name() = 0 { name_len=9, name="/tmp/a })", "b )", R"(c" })"});
    EXPECT_EQ(Checked({R"(0024: create_file( filename="/tmp/a)", "b\" )", "c"}).First(), "c");
    EXPECT_EQ(Checked({R"(0024: create_file( attrs=00000000, objattr={}, filename="" ))", "c"}).First(), "c");
    EXPECT_EQ(Checked({R"(0024: set_key_value( hkey=0034, name=L"=", data={05} ))", "c"}).First(), "c");
    EXPECT_EQ(Checked({R"(0024: create_event( objattr={name=L""}, count={1} ))", "c"}).First(), "c");
}

TEST(UnplacedLines, TheServersOwnMessagesArePlaced) {
    ExpectPlaced({"wineserver: starting (pid=17)", "sock_init: shutdown() causes EOF",
                  "wineserver: file_set_error() can't map error: Not a tty",
                  "sock_reselect(0x55): new mask 5",
                  "post_win_event: tid 0024 event 8005 win 00010020 object_id 0 child_id 0", ""});
}

TEST(UnplacedLines, OtherLinesAreUnplaced) {
    ExpectUnplaced({"wineserver crashed, please enable coredumps (ulimit -c unlimited) and restart.",
                    "free(): invalid pointer",
                    "wineserver64: server/object.c:1: release_object: Assertion failed.", "time 5", "lost",
                    " ", "0024", "0024: "});
}

TEST(UnplacedLines, TheLoadersWarningsArePlaced) {
    ExpectPlaced(
        {"ERROR: ld.so: object 'libsnoop.so' from /etc/ld.so.preload cannot be preloaded (cannot open "
         "shared object file): ignored."});
}

TEST(UnplacedLines, AfterTheEndOfTheServerNothingCounts) {
    ExpectPlaced({"wineserver: exiting (pid=17)", "0x55d0:1: Directory", "  what it has"});
}

TEST(UnplacedLines, AnOverlongLineNeedsOnlyAKnownName) {
    const std::string name(maximumLineLength, 'a');
    ExpectPlaced({("0024: open_key( parent=0000, name=L\"" + name).substr(0, maximumLineLength),
                  ("0024: create_file( filename=\"" + name).substr(0, maximumLineLength), "0024: flush( )"});
    EXPECT_EQ(Checked({("0024: create_file( filename=\"" + name).substr(0, maximumLineLength), "b"}).Count(),
              1U);
}

TEST(UnplacedLines, TheFirstOneIsShownAndAllAreCounted) {
    const UnplacedLines lines =
        Checked({"0024: flush( )", "0024: one( hkey=0004 )", "0024: two( )", "three"});
    EXPECT_EQ(lines.First(), "0024: one( hkey=0004 )");
    EXPECT_EQ(lines.Count(), 3U);
}

TEST(UnplacedLines, TextsAndListsAreNotShown) {
    EXPECT_EQ(Checked({R"(0024: new_child( flags=0, cmdline=L"secret", env=L"A=secret" ))"}).First(),
              "0024: new_child( flags=0, cmdline=L...");
    EXPECT_EQ(Checked({"0024: set_data( hkey=0004, data={41,00} )"}).First(),
              "0024: set_data( hkey=0004, data=...");
    EXPECT_EQ(Checked({R"(Move key REGISTRY\\A value @=dword:00736563)"}).First(),
              R"(Move key REGISTRY\\A value @...)");
    EXPECT_EQ(Checked({"Environment: A=secret"}).First(), "Environment: A...");
    EXPECT_EQ(Checked({"  73,65,63;"}).First(), "...");
    EXPECT_EQ(Checked({"\t73,65,63"}).First(), "...");
}

TEST(UnplacedLines, TheShownLineIsShortAndPrintable) {
    EXPECT_EQ(Checked({"a\x1B[31mb\rc\xC3\xA9\x7F"}).First(), "a?[31mb?c???");
    EXPECT_EQ(Checked({std::string(300, 'a')}).First(), std::string(200, 'a') + "...");
}

} // namespace
} // namespace keyreap
