#include "oracle/services.h"

#include <cstdlib>

#include "oracle/oracle.h"
#include "util/util.h"

namespace quillon::oracle {
namespace {

void* checked(void* block, const char* tag) {
  if (block == nullptr) errexit("out of memory: %s", tag);
  return block;
}

void* plain_umalloc(std::uint64_t bytes, const char* tag) {
  return checked(std::malloc(bytes == 0 ? 1 : bytes), tag);
}

std::int32_t* plain_imalloc(std::int64_t count, const char* tag) {
  return static_cast<std::int32_t*>(
      plain_umalloc(static_cast<std::uint64_t>(count) * sizeof(std::int32_t), tag));
}

void* plain_urealloc(void* block, std::uint64_t bytes, const char* tag) {
  return checked(std::realloc(block, bytes), tag);
}

void plain_free(void* block) { std::free(block); }

void* plain_poolalloc(int /*pool*/, std::uint64_t bytes, const char* tag) {
  return plain_umalloc(bytes, tag);
}

}  // namespace

const Services kUtilityLayer = {quillon::umalloc, quillon::imalloc,   quillon::urealloc,
                                quillon::_usfree, quillon::poolalloc, quillon::read_array};

const Services kPlain = {plain_umalloc, plain_imalloc,   plain_urealloc,
                         plain_free,    plain_poolalloc, oracle::read_array};

Services services = kUtilityLayer;

}  // namespace quillon::oracle
