// A program with its own utility layer: the module then uses nothing of the installed one.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "hypergraph/hypergraph.h"
#include "util/util.h"

namespace quillon {
namespace {

int nblocks_taken = 0;
int nblocks_returned = 0;

int print(std::FILE* stream, const char* format, std::va_list arguments) {
  return std::vfprintf(stream, format, arguments);
}

}  // namespace

void* umalloc(std::uint64_t bytes, const char*) {
  ++nblocks_taken;
  return std::malloc(bytes);
}
std::int32_t* imalloc(std::int64_t count, const char* tag) {
  return static_cast<std::int32_t*>(umalloc(static_cast<std::uint64_t>(count) * sizeof(std::int32_t), tag));
}
void* urealloc(void* block, std::uint64_t bytes, const char*) { return std::realloc(block, bytes); }
void _usfree(void* block) {
  if (block != nullptr) ++nblocks_returned;
  std::free(block);
}
void* poolalloc(int, std::uint64_t, const char*) { std::abort(); }
int poolfree_upto(int, void*, const char*) { std::abort(); }
void errexit(const char*, ...) { std::abort(); }
void uwarning(const char*, ...) { std::abort(); }
int uprintf(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int length = print(stdout, format, arguments);
  va_end(arguments);
  return length;
}
std::FILE* ufopen(const char* name, const char* mode, const char*) { return std::fopen(name, mode); }
void ufclose(std::FILE* stream) { std::fclose(stream); }
void read_array(const char*, std::int32_t*, int, int) { std::abort(); }
void uqsorti(std::uint64_t, std::int32_t*) { std::abort(); }
void PermuteInPlace(std::int32_t*, int) { std::abort(); }
int uRandom(int) { std::abort(); }
void uSeed(std::uint64_t) { std::abort(); }

}  // namespace quillon

int main() {
  const int xnadj[] = {0, 0, 2, 5};
  const int nadj[] = {1, 2, 2, 3, 1, 0, 0};
  quillon::Hypergraph h;
  h._fmt = 0;
  quillon::hypergraph_LoadFromArr(&h, 2, 3, xnadj, nadj, nullptr);
  quillon::PrintNets(&h, 1);
  quillon::free_hypergraph(&h);
  quillon::uprintf("%d blocks taken, %d returned\n", quillon::nblocks_taken, quillon::nblocks_returned);
}
