// Records that a start does what its words say.
#include <cstdio>

int main(int count, char** words) {
    for (int i = 1; i < count; ++i) {
        std::puts(words[i]);
    }
}
