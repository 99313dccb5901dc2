// Gives every file of a corpus to a fuzz target once. Usage: PROGRAM DIRECTORY

#include "fuzz/FuzzInput.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesIn(const fs::path& directory) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(directory)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::uint8_t> contentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::vector<std::uint8_t> content{std::istreambuf_iterator<char>(stream),
                                    std::istreambuf_iterator<char>()};
  if (!stream) throw std::runtime_error("cannot read " + file.string());
  return content;
}

void replay(const fs::path& directory) {
  const auto files = filesIn(directory);
  if (files.empty()) throw std::runtime_error(directory.string() + " holds no inputs");
  for (const auto& file : files) {
    // A target that aborts leaves the file at fault as the last line.
    std::fprintf(stderr, "%s\n", file.string().c_str());
    const auto content = contentOf(file);
    LLVMFuzzerTestOneInput(content.data(), content.size());
  }
}

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount != 2) {
    std::fprintf(stderr, "usage: %s DIRECTORY\n", arguments[0]);
    return 2;
  }
  try {
    replay(arguments[1]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  return 0;
}
