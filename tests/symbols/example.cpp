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

// The compiler must not remove it, nor join it with another function.
[[gnu::noinline]] int Hidden(const Window& window) {
    std::printf("%d\n", window.width);
    return window.Doubled() + 1;
}

} // namespace

} // namespace example

#if defined(_WIN32)
extern "C" [[gnu::noinline]] int __stdcall Called(int first, int second) {
    std::printf("%d %d\n", first, second);
    return first - second;
}
#endif

int main(int count, char**) {
    const example::Window window{count};
    std::vector<int> numbers(static_cast<std::size_t>(count), 3);
    return example::Hidden(window) + example::Sum(numbers) + Called(count, 1) + (window ? 1 : 0);
}
