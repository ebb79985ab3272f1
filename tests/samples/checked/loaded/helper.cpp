extern "C" __declspec(dllexport) int CheckedHelperStart() {
    return 1;
}
