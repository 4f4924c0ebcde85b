#pragma once
// Running the unitops command as a user does, for the command-line tests.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace unitops::test {

struct CliRun {
    int exitCode;
    std::string out;  // stdout and stderr together
};

inline CliRun Unitops(const std::string& args) {
    const std::string command = std::string(UNITOPS_CLI) + " " + args + " 2>&1";
    std::FILE* pipe = popen(command.c_str(), "r");
    EXPECT_NE(pipe, nullptr);
    CliRun r{-1, ""};
    if (!pipe) return r;
    std::array<char, 4096> buffer{};
    std::size_t n = 0;
    while ((n = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0) r.out.append(buffer.data(), n);
    const int status = pclose(pipe);
    r.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

//! A path in the temporary directory, unique to this test process, holding `content`.
inline std::string TempFile(const std::string& name, const std::string& content) {
    const auto path = std::filesystem::temp_directory_path() / ("unitops_cli_" + std::to_string(::getpid()) + "_" + name);
    std::ofstream(path, std::ios::binary) << content;
    return path.string();
}

//! The whole content of a file ("" when it cannot be read).
inline std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

//! The path of a file of examples/.
inline std::string Example(const std::string& name) { return std::string(UNITOPS_SOURCE_DIR) + "/examples/" + name; }

}  // namespace unitops::test
