#include "formats/descriptor.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

namespace quillon::formats {
namespace {

void wait_until(int descriptor, short event) {
  pollfd wanted{descriptor, event, 0};
  poll(&wanted, 1, -1);
}

}  // namespace

void Descriptor::reset(int number) {
  close();
  number_ = number;
}

bool Descriptor::close() { return number_ < 0 || ::close(std::exchange(number_, -1)) == 0; }

int duplicate(int descriptor) { return fcntl(descriptor, F_DUPFD_CLOEXEC, 0); }

Stop::Stop() : event_(eventfd(0, EFD_CLOEXEC)) {
  if (!event_.is_open()) throw std::system_error(errno, std::generic_category());
}

void Stop::request() {
  const std::uint64_t one = 1;
  write_all(event_.number(), reinterpret_cast<const char*>(&one), sizeof one);
}

bool Stop::wait_to_read(int descriptor) const {
  pollfd waiting[] = {{event_.number(), POLLIN, 0}, {descriptor, POLLIN, 0}};
  while (poll(waiting, 2, -1) < 0 && errno == EINTR) {
  }
  return waiting[0].revents == 0;
}

std::ptrdiff_t read_some(int descriptor, char* bytes, std::size_t size) {
  for (;;) {
    const ssize_t length = read(descriptor, bytes, size);
    if (length >= 0) return length;
    if (errno == EAGAIN)
      wait_until(descriptor, POLLIN);
    else if (errno != EINTR)
      return -1;
  }
}

bool write_all(int descriptor, const char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t written = write(descriptor, bytes, size);
    if (written >= 0) {
      bytes += written;
      size -= static_cast<std::size_t>(written);
    } else if (errno == EAGAIN) {
      wait_until(descriptor, POLLOUT);
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

}  // namespace quillon::formats
