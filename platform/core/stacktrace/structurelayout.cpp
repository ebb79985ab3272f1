// The structures of the debug help library have the layout that Microsoft's headers publish, whatever headers
// this is compiled with. The numbers follow from the declarations there and are written out, so that no
// number is tested against itself.
#include "platform/core/stacktrace/debughelp.h"
#include "platform/os/publishedlayout.h"

namespace keyreap {

namespace {

static_assert(offsetof(ADDRESS64, Offset) == 0);
static_assert(offsetof(ADDRESS64, Segment) == 8);
static_assert(offsetof(ADDRESS64, Mode) == 12);
static_assert(sizeof(ADDRESS64) == 16);

static_assert(offsetof(KDHELP64, Thread) == 0);
static_assert(offsetof(KDHELP64, ThCallbackStack) == 8);
static_assert(offsetof(KDHELP64, ThCallbackBStore) == 12);
static_assert(offsetof(KDHELP64, NextCallback) == 16);
static_assert(offsetof(KDHELP64, FramePointer) == 20);
static_assert(offsetof(KDHELP64, KiCallUserMode) == 24);
static_assert(offsetof(KDHELP64, KeUserCallbackDispatcher) == 32);
static_assert(offsetof(KDHELP64, SystemRangeStart) == 40);
static_assert(offsetof(KDHELP64, KiUserExceptionDispatcher) == 48);
static_assert(offsetof(KDHELP64, StackBase) == 56);
static_assert(offsetof(KDHELP64, StackLimit) == 64);
static_assert(sizeof(KDHELP64) == 112);

static_assert(offsetof(STACKFRAME64, AddrPC) == 0);
static_assert(offsetof(STACKFRAME64, AddrReturn) == 16);
static_assert(offsetof(STACKFRAME64, AddrFrame) == 32);
static_assert(offsetof(STACKFRAME64, AddrStack) == 48);
static_assert(offsetof(STACKFRAME64, AddrBStore) == 64);
static_assert(offsetof(STACKFRAME64, FuncTableEntry) == 80);
static_assert(offsetof(STACKFRAME64, Params) == 88);
static_assert(offsetof(STACKFRAME64, Far) == 120);
static_assert(offsetof(STACKFRAME64, Virtual) == 124);
static_assert(offsetof(STACKFRAME64, Reserved) == 128);
static_assert(offsetof(STACKFRAME64, KdHelp) == 152);
static_assert(sizeof(STACKFRAME64) == 264);

static_assert(offsetof(SYMBOL_INFO, SizeOfStruct) == 0);
static_assert(offsetof(SYMBOL_INFO, TypeIndex) == 4);
static_assert(offsetof(SYMBOL_INFO, Reserved) == 8);
static_assert(offsetof(SYMBOL_INFO, Size) == 28);
static_assert(offsetof(SYMBOL_INFO, ModBase) == 32);
static_assert(offsetof(SYMBOL_INFO, Flags) == 40);
static_assert(offsetof(SYMBOL_INFO, Value) == 48);
static_assert(offsetof(SYMBOL_INFO, Address) == 56);
static_assert(offsetof(SYMBOL_INFO, Register) == 64);
static_assert(offsetof(SYMBOL_INFO, Scope) == 68);
static_assert(offsetof(SYMBOL_INFO, Tag) == 72);
static_assert(offsetof(SYMBOL_INFO, NameLen) == 76);
static_assert(offsetof(SYMBOL_INFO, MaxNameLen) == 80);
static_assert(offsetof(SYMBOL_INFO, Name) == 84);
static_assert(sizeof(SYMBOL_INFO) == 88);

static_assert(offsetof(IMAGEHLP_LINE64, SizeOfStruct) == 0);
static_assert(offsetof(IMAGEHLP_LINE64, Key) == Published(8, 4));
static_assert(offsetof(IMAGEHLP_LINE64, LineNumber) == Published(16, 8));
static_assert(offsetof(IMAGEHLP_LINE64, FileName) == Published(24, 12));
static_assert(offsetof(IMAGEHLP_LINE64, Address) == Published(32, 16));
static_assert(sizeof(IMAGEHLP_LINE64) == Published(40, 24));

} // namespace

} // namespace keyreap
