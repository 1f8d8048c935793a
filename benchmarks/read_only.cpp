// SPDX-License-Identifier: MIT

#include <vector>

#include <fcntl.h>
#include <unistd.h>

// read_only FILE: reads FILE in pieces of 1 MiB, in other words does what
// nobody who wants its contents can do without.
int main(int argc, char** argv) {
  const int file = argc > 1 ? ::open(argv[1], O_RDONLY) : -1;
  if (file == -1) {
    return 1;
  }
  std::vector<char> piece(std::size_t{1} << 20);
  ssize_t count = 0;
  do {
    count = ::read(file, piece.data(), piece.size());
  } while (count > 0);
  return count == 0 ? 0 : 1;
}
