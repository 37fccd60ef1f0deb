#include "formats/on_threads.h"

#include <exception>
#include <system_error>
#include <thread>
#include <vector>

#include "formats/read_ahead.h"

namespace quillon::formats {

void on_threads(int count, const std::function<void(int part)>& work) {
  if (count == 1) return work(0);
  std::vector<std::exception_ptr> failures(static_cast<std::size_t>(count));
  const auto do_part = [&](int part) {
    try {
      work(part);
    } catch (...) {
      failures[static_cast<std::size_t>(part)] = std::current_exception();
    }
  };
  std::vector<std::thread> others;
  others.reserve(static_cast<std::size_t>(count));
  int nstarted = 1;
  try {
    for (; nstarted < count; ++nstarted)
      others.push_back(start_thread([&do_part, part = nstarted] { do_part(part); }));
  } catch (const std::system_error&) {
    // no thread left: this one does the rest
  }
  do_part(0);
  for (int part = nstarted; part < count; ++part) do_part(part);
  for (std::thread& other : others) other.join();
  for (const std::exception_ptr& failure : failures)
    if (failure != nullptr) std::rethrow_exception(failure);
}

}  // namespace quillon::formats
