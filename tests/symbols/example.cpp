// The program that test_makesymbols.py makes a symbol file of.
#include <cstdio>
#include <string>
#include <vector>

namespace example {

struct Window {
    int width = 0;
    int Doubled() const;
    explicit operator bool() const { return width != 0; }
};

int Window::Doubled() const {
    return 2 * width;
}

template <typename Number>
Number Sum(const std::vector<Number>& numbers) {
    Number sum = 0;
    for (const Number number : numbers) {
        sum += number;
    }
    return sum;
}

namespace {

int Hidden(const Window& window) {
    std::printf("%d\n", window.width);
    return window.Doubled() + 1;
}

} // namespace

} // namespace example

extern "C" int __stdcall Called(int first, int second) {
    std::printf("%d %d\n", first, second);
    return first - second;
}

// The compiler must not join them with another function.
int (*volatile hidden)(const example::Window&) = example::Hidden;
int(__stdcall* volatile called)(int, int) = Called;

int main(int count, char**) {
    const example::Window window{count};
    std::vector<int> numbers(static_cast<std::size_t>(count), 3);
    return hidden(window) + example::Sum(numbers) + called(count, 1) + (window ? 1 : 0);
}
