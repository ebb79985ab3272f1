// etldump [--events] FILE: prints what an event trace log contains. Exits with 0; with 1 if the file is no
// log or can't be read to its end; with 2 if the arguments are others.
#include "etl/etlfile.h"
#include "tools/etlprinter.h"

#include <filesystem>
#include <iostream>
#include <vector>

namespace {

int Run(const std::vector<std::filesystem::path>& arguments) {
    const bool eachEvent = arguments.size() == 2 && arguments.front() == "--events";
    if (arguments.size() != 1 && !eachEvent) {
        std::cerr << "usage: etldump [--events] FILE\n";
        return 2;
    }
    keyreap::EtlFileSource source(arguments.back());
    return keyreap::PrintLog(source, eachEvent, std::cout) ? 0 : 1;
}

} // namespace

#ifdef _WIN32
int wmain(int argc, wchar_t** argv) {
#else
int main(int argc, char** argv) {
#endif
    return Run({argv + 1, argv + argc});
}
