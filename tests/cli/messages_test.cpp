// `unitops messages`: the library's string table, one text or all of it.
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>

#include "unitops/contract/message_table.hpp"

namespace {

std::string Output(const std::string& args, int& exitCode) {
    std::FILE* pipe = popen((std::string(UNITOPS_CLI) + " " + args + " 2>/dev/null").c_str(), "r");
    std::string out;
    char buffer[4096];
    std::size_t n = 0;
    while (pipe && (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, n);
    const int status = pipe ? pclose(pipe) : -1;
    exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return out;
}

std::string Unescaped(const std::string& s) {
    std::string out;
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '\\' && i + 1 < s.size() && s[i + 1] == 'n') {
            out += '\n';
            ++i;
        } else {
            out += s[i];
        }
    }
    return out;
}

TEST(MessagesCommand, ListsTheWholeTableOneLineEach) {
    int code = -1;
    std::istringstream lines(Output("messages", code));
    ASSERT_EQ(code, 0);
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        const auto tab = line.find('\t');
        ASSERT_NE(tab, std::string::npos) << line;
        const unsigned key = static_cast<unsigned>(std::stoul(line.substr(0, tab)));
        EXPECT_EQ(Unescaped(line.substr(tab + 1)), unitops::LibraryMessage(key)) << key;
    }
    EXPECT_EQ(count, unitops::LibraryMessages().size());
}

TEST(MessagesCommand, PrintsOneTextAsItStands) {
    int code = -1;
    EXPECT_EQ(Output("messages 14399", code),
              "Error 100-08035:\n\n Calculations could not be performed because of an error in output density calculation.\n"
              "Check the densities of the input streams. \nInput Streams are not adjusted.\n"
              "M&E balances and sizing Calculations will be skiped. \n");
    EXPECT_EQ(code, 0);
    EXPECT_EQ(Output("messages 0x3005", code).substr(0, 16), "Error 100-00005:");
    EXPECT_EQ(Output("messages 14344", code),
              "Error 100-08004:\n\nThe log-mean temperature difference is less than 5\u00b0C.\nThe required heat transfer area may be too large.\n");
    EXPECT_EQ(Output("messages 12295", code), "");  // the table has no such key
    EXPECT_NE(code, 0);
    EXPECT_FALSE(Output("messages 92", code).empty());  // a host number, from the host's own table
}

}  // namespace
