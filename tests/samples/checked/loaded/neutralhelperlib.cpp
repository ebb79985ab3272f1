extern "C" __declspec(dllexport) const wchar_t* CheckedVersionName() {
    return L"1.0";
}
