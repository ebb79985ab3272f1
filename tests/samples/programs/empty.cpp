// A program that does nothing: everything in its capture and every change by its run comes from the host.
int wmain() {
    return 0;
}
