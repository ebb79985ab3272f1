// A program that does nothing at all: what its capture holds, and what its run changes, is its host's doing.
int wmain() {
    return 0;
}
