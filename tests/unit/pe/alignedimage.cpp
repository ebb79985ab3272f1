// The code of a linked image whose alignments and version resource are what matters.
extern "C" __declspec(dllexport) int AlignedImage() {
    return 1;
}
