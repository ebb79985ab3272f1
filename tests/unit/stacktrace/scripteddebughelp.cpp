#include "tests/unit/stacktrace/scripteddebughelp.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace keyreap::testsupport {

namespace {

ScriptedDebugHelp* played = nullptr;
std::size_t position = 0;

const ScriptedFrame* FrameAt(DWORD64 address) {
    const auto frame = std::ranges::find(played->frames, address, &ScriptedFrame::address);
    return frame == played->frames.end() ? nullptr : &*frame;
}

DWORD WINAPI SetOptions(DWORD options) {
    played->calls.push_back("options");
    return played->options = options;
}

BOOL WINAPI Initialize(HANDLE process, PCSTR, BOOL invades) {
    played->calls.push_back(invades ? "invade" : "initialize");
    played->process = process;
    return invades ? played->invadeResult : played->initializeResult;
}

DWORD64 WINAPI LoadModule(HANDLE, HANDLE, PCSTR, PCSTR, DWORD64 base, DWORD, MODLOAD_DATA*, DWORD) {
    played->modules.push_back(base);
    return base;
}

BOOL WINAPI SetSearchPath(HANDLE, PCSTR path) {
    played->calls.push_back("path");
    played->searchPath = path;
    return played->setSearchPathResult;
}

BOOL WINAPI Walk(DWORD machineType, HANDLE, HANDLE, STACKFRAME64* frame, void* context,
                 PREAD_PROCESS_MEMORY_ROUTINE64, PFUNCTION_TABLE_ACCESS_ROUTINE64, PGET_MODULE_BASE_ROUTINE64,
                 PTRANSLATE_ADDRESS_ROUTINE64) {
    played->calls.push_back("walk");
    played->machineType = machineType;
    if (position == 0) {
        played->firstFrame = *frame;
    }
    std::memset(context, 0xEE, sizeof(CONTEXT)); // a real walk changes the context too
    if (position == played->frames.size()) {
        return FALSE;
    }
    frame->AddrPC.Offset = played->frames[position++].address;
    return TRUE;
}

BOOL WINAPI FromAddress(HANDLE, DWORD64 address, PDWORD64, SYMBOL_INFO* symbol) {
    played->symbolSize = symbol->SizeOfStruct;
    played->longestName = symbol->MaxNameLen;
    const ScriptedFrame* frame = FrameAt(address);
    if (!frame || frame->function.empty()) {
        return FALSE;
    }
    const std::size_t length = std::min<std::size_t>(frame->function.size(), symbol->MaxNameLen - 1);
    std::memcpy(symbol->Name, frame->function.data(), length);
    symbol->Name[length] = 0;
    return TRUE;
}

BOOL WINAPI LineFromAddress(HANDLE, DWORD64 address, PDWORD, IMAGEHLP_LINE64* line) {
    played->lineSize = line->SizeOfStruct;
    const ScriptedFrame* frame = FrameAt(address);
    if (!frame || frame->file.empty()) {
        return FALSE;
    }
    line->FileName = const_cast<char*>(frame->file.c_str());
    line->LineNumber = frame->line;
    return TRUE;
}

BOOL WINAPI Cleanup(HANDLE) {
    played->calls.push_back("cleanup");
    return TRUE;
}

void* WINAPI NoFunctionTable(HANDLE, DWORD64) {
    return nullptr;
}

DWORD64 WINAPI NoModuleBase(HANDLE, DWORD64) {
    return 0;
}

} // namespace

ScriptedDebugHelp::ScriptedDebugHelp(std::vector<ScriptedFrame> stack) : frames(std::move(stack)) {
    played = this;
    position = 0;
    help.setOptions = SetOptions;
    help.initialize = Initialize;
    help.loadModule = LoadModule;
    help.setSearchPath = SetSearchPath;
    help.stackWalk = Walk;
    help.functionTableAccess = NoFunctionTable;
    help.getModuleBase = NoModuleBase;
    help.fromAddress = FromAddress;
    help.getLineFromAddress = LineFromAddress;
    help.cleanup = Cleanup;
}

ScriptedDebugHelp::~ScriptedDebugHelp() {
    played = nullptr;
}

} // namespace keyreap::testsupport
