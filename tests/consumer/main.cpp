// A program outside the tree, built against the installed package.
#include <cstdio>
#include <cstring>

extern "C" const char* vesk_version();

int main() {
  std::printf("vesk %s\n", vesk_version());
  return std::strcmp(vesk_version(), "1.0.0") == 0 ? 0 : 1;
}
