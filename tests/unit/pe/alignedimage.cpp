// The code of a linked image, of which only the alignments and the version resource matter.
extern "C" __declspec(dllexport) int AlignedImage() {
    return 1;
}
