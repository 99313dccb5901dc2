#include "tests/support/Files.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>

namespace tessline::test {

TemporaryDirectory::TemporaryDirectory() {
  std::string name = (std::filesystem::temp_directory_path() / "tessline-test-XXXXXX").native();
  if (::mkdtemp(name.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(), "mkdtemp");
  }
  path_ = name;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryDirectory::file(const std::string& name, std::string_view content) const {
  const std::filesystem::path path = path_ / name;
  std::ofstream(path, std::ios::binary) << content;
  return path.native();
}

std::string readText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace tessline::test
