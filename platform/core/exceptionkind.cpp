#include "platform/core/exceptionkind.h"

namespace keyreap {

std::wstring_view ExceptionKindName(ExceptionKind kind) {
    switch (kind) {
    case ExceptionKind::EXCEPTION_STD:
        return L"EXCEPTION_STD";
    case ExceptionKind::EXCEPTION_UNHANDLED:
        return L"EXCEPTION_UNHANDLED";
    case ExceptionKind::EXCEPTION_GENERIC:
        return L"EXCEPTION_GENERIC";
    case ExceptionKind::EXCEPTION_WIN32:
        return L"EXCEPTION_WIN32";
    case ExceptionKind::EXCEPTION_CMD:
        return L"EXCEPTION_CMD";
    case ExceptionKind::EXCEPTION_XML_PARSE:
        return L"EXCEPTION_XML_PARSE";
    case ExceptionKind::EXCEPTION_SEH:
        return L"EXCEPTION_SEH";
    }
    return L"Exception ???";
}

std::wstring_view SehKindName(SehKind kind) {
    switch (kind) {
    case SehKind::SEH_AV_READ_NULLPTR:
        return L"SEH_AV_READ_NULLPTR";
    case SehKind::SEH_AV_READ_BADPTR:
        return L"SEH_AV_READ_BADPTR";
    case SehKind::SEH_AV_WRITE_NULLPTR:
        return L"SEH_AV_WRITE_NULLPTR";
    case SehKind::SEH_AV_WRITE_BADPTR:
        return L"SEH_AV_WRITE_BADPTR";
    case SehKind::SEH_AV_DEP_NULLPTR:
        return L"SEH_AV_DEP_NULLPTR";
    case SehKind::SEH_AV_DEP_BADPTR:
        return L"SEH_AV_DEP_BADPTR";
    case SehKind::SEH_GENERIC:
        break;
    }
    return L"SEH_GENERIC";
}

} // namespace keyreap
