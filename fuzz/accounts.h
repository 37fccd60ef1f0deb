#pragma once
// Runs of the module over the recording utility layer, and checks of their results.

#include <functional>
#include <string>

namespace quillon::fuzz {

/// How a run ended.
struct Ending {
  bool returned;
  std::string fatal;  // text of the error that ended it
};

/// Runs `body`. It is a find if `body` frees a block or closes a stream that it does not hold.
Ending run(const std::function<void()>& body);

/// Whether a run ended because memory was short.
bool lacked_memory(const Ending& ending);

/// Runs `body`, which may fail only because memory is short. Any other error is a find.
///
/// @return  Whether it returned.
bool run_soundly(const std::function<void()>& body);

/// Ends the program unless a text can cause this error in one of the readers.
void expect_reader_error(const std::string& fatal);

/// Ends the program if blocks have not been freed.
void expect_nothing_held();

/// Ends the program if files are open.
void expect_files_closed();

}  // namespace quillon::fuzz
