extern "C" __declspec(dllexport) int CheckedAbsentStart() {
    return 1;
}
