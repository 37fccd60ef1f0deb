#pragma once
// Runs of the module over the recording utility layer, and what may come of them.

#include <functional>
#include <string>

namespace quillon::fuzz {

/// How a run ended.
struct Ending {
  bool returned;
  std::string fatal;  // text of the error that ended it
};

/// Runs `body`. A block or stream given back that is not held, is a find.
Ending run(const std::function<void()>& body);

/// Whether a run found no memory for what the input announces.
bool lacked_memory(const Ending& ending);

/// Runs what has no reason to fail but that. Anything else is a find.
///
/// @return  Whether it came to its end.
bool run_soundly(const std::function<void()>& body);

/// Ends the program if the error that ended a run is none that a text can cause in one of the readers.
void expect_reader_error(const std::string& fatal);

/// Ends the program if blocks have not been given back.
void expect_nothing_held();

/// Ends the program if files have been opened and not closed.
void expect_files_closed();

}  // namespace quillon::fuzz
