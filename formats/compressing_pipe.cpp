#include "formats/compressing_pipe.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <exception>
#include <system_error>

#include "formats/descriptor.h"
#include "formats/read_ahead.h"
#include "formats/temporary_file.h"

namespace quillon::formats {

struct CompressingPipe::State {
  Descriptor to;
  Descriptor read_end;
  Descriptor write_end;                 // open until the writer has finished, who opens another one
  std::unique_ptr<TemporaryName> fifo;  // where the system has no /proc
  std::string name;
  std::unique_ptr<Compressor> compressor;
  std::atomic<bool> is_abandoned = false;
  std::exception_ptr failure;

  State(Compression compression, int descriptor);
  void open_pipe();
  void open_fifo();
  void run();
  void compress_all();
};

namespace {

[[noreturn]] void throw_error() { throw std::system_error(errno, std::generic_category()); }

}  // namespace

CompressingPipe::State::State(Compression compression, int descriptor) : to(duplicate(descriptor)) {
  if (!to.is_open()) throw_error();
  open_pipe();
  if (name.empty()) open_fifo();
  compressor = make_compressor(compression, [this](const char* bytes, std::size_t size) {
    if (!write_all(to.number(), bytes, size)) throw_error();
  });
}

void CompressingPipe::State::open_pipe() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw_error();
  read_end.reset(ends[0]);
  write_end.reset(ends[1]);
  name = name_of_descriptor(write_end.number());
}

void CompressingPipe::State::open_fifo() {
  constexpr mode_t kOnlyOwner = 0600;
  fifo = make_beside(temporary_folder() + "/fifo",
                     [](const char* path) { return mkfifo(path, kOnlyOwner) == 0; });
  name = fifo->name();
  // In this order neither call waits for the other end.
  read_end.reset(open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  write_end.reset(open(name.c_str(), O_WRONLY | O_CLOEXEC));
  if (!read_end.is_open() || !write_end.is_open()) throw_error();
}

// After a failure the pipe is still emptied: the writer must neither wait nor get a signal.
void CompressingPipe::State::run() {
  try {
    compress_all();
  } catch (...) {
    failure = std::current_exception();
    char ignored[1 << 12];
    while (read_some(read_end.number(), ignored, sizeof ignored) > 0) {
    }
  }
}

void CompressingPipe::State::compress_all() {
  const auto block = std::make_unique_for_overwrite<char[]>(kBlockSize);
  while (const std::ptrdiff_t size = read_some(read_end.number(), block.get(), kBlockSize)) {
    if (size < 0) throw_error();
    if (!is_abandoned) compressor->write(block.get(), static_cast<std::size_t>(size));
  }
  if (!is_abandoned) compressor->finish();
}

CompressingPipe::CompressingPipe(Compression compression, int descriptor)
    : state_(std::make_shared<State>(compression, descriptor)),
      thread_(start_thread([state = state_] { state->run(); })) {}

CompressingPipe::~CompressingPipe() {
  if (!thread_.joinable()) return;
  state_->is_abandoned = true;
  state_->write_end.close();
  thread_.detach();
}

const std::string& CompressingPipe::name() const { return state_->name; }

void CompressingPipe::finish() {
  state_->write_end.close();
  thread_.join();
  if (state_->failure) std::rethrow_exception(state_->failure);
}

}  // namespace quillon::formats
