// The sample server that is laid beside the program.
extern "C" __declspec(dllexport) long DllRegisterServer() {
    return 0;
}
