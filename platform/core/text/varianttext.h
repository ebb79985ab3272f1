#pragma once

#include <windows.h>

#include <oaidl.h>

#include <string>

namespace keyreap {

// A variant's value as text: numbers in decimal, strings as they are, "TRUE" and "FALSE", "NULL", and
// "UNKNOWN" for every other type. An array of strings or of 32-bit integers becomes its elements joined with
// "," between "{" and "}", without the elements that can't be read. Never fails, and doesn't change the
// variant.
std::wstring VariantToText(const VARIANT& value);

} // namespace keyreap
