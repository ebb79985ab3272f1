// Ends with the number of its arguments.
int main(int argc, char**) {
    return argc - 1;
}
