// Makes the manual page of the messages from their rows, as it is built: what a message means is written
// nowhere else.
//
//     zel_manual TEMPLATE ROWS RESULT
//
// In the template, a line "@kinds@" stands for the list of where messages are shown, "@sections@" for the
// messages. Neither rows that are wrong nor a result that cannot be written leaves a result.
#include <cstdio>
#include <exception>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

#include "Mdoc.h"

namespace {

std::string Contents(const char* name) {
    std::ifstream file(name, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file)
        throw std::runtime_error("cannot be read");
    return text.str();
}

std::string Filled(const std::string& page, const zelhealth::MessageBook& book) {
    std::istringstream lines(page);
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        if (line == "@kinds@")
            text += MdocKinds(book);
        else if (line == "@sections@")
            text += MdocSections(book);
        else
            text += line + "\n";
    }
    return text;
}

void Write(const char* name, const std::string& text) {
    std::ofstream result(name, std::ios::trunc);
    result << text << std::flush;
    if (!result) {
        std::remove(name);
        throw std::runtime_error(std::string("cannot write ") + name);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: zel_manual TEMPLATE ROWS RESULT\n");
        return 2;
    }
    const char* file = argv[1];
    try {
        const std::string page = Contents(file);
        file = argv[2];
        Write(argv[3], Filled(page, zelhealth::ReadMessageBook(Contents(file))));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", file, error.what());
        return 1;
    }
}
