// loggerstop NAME: stops a logger session that its process has left running, in a prefix whose host is
// described as one where sessions outlive their processes (hostlogger/strictness.h). On Windows the command
// is: logman stop NAME -ets. Exits with the status of the stop (winerror.h), or with 87 without exactly one
// name.
#include "hostlogger/requestlogger.h"

#include <windows.h>

int wmain(int count, wchar_t** arguments) {
    if (count != 2) {
        return ERROR_INVALID_PARAMETER;
    }
    return static_cast<int>(keyreap::RequestLogger().StopByName(arguments[1]));
}
