#include "kit/explain/requeststory.h"

#include "platform/os/file/executablepath.h"

#include <windows.h>

namespace keyreap {

bool RequestStorySource::Begin(std::wstring& failure) {
    // What the prefix did so far.
    if (!requests.Open() || !requests.ReadToNow(&recorder)) {
        failure = L"there is no request log of Wine's server";
        return false;
    }
    const DWORD own = GetCurrentProcessId();
    recorder.WatchMarks(std::wstring(markPrefix) + std::to_wstring(own) + L' ');
    recorder.NameProcess(own, GetExecutablePath().FileName());
    recorder.BeginCapture();
    return true;
}

bool RequestStorySource::End(std::wstring& failure) {
    if (!requests.ReadToNow(&recorder) || !requests.IsComplete()) {
        failure = L"the request log isn't complete";
        return false;
    }
    return true;
}

} // namespace keyreap
