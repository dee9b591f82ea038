#include "bootableiso.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include <fstream>

namespace VelaCreation {

void appendFile(std::string source, std::string destination) {
    std::ifstream in(source);
    std::ofstream out(destination, std::ios::out | std::ios::app);
    while (!in.fail()) {
        std::string line;
        std::getline(in, line);
        out << line << std::endl;
    }
}

std::string findStrInLine(std::string file, std::string text, int position) {
    std::string word;
    std::ifstream in(file);
    while (!in.fail()) {
        std::string line;
        std::getline(in, line);
        if (line.find(text) != std::string::npos) {
            const std::string tail = line.substr(static_cast<std::string::size_type>(position));
            std::vector<std::string> tokens;
            boost::algorithm::split(tokens, tail, boost::algorithm::is_any_of(" "),
                                    boost::algorithm::token_compress_off);
            word = tokens.front();
        }
    }
    return word;
}

} // namespace VelaCreation
