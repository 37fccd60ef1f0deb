#pragma once
/// @file
/// Telling formats apart by the beginning of a file. Internal to `formats/`: what the functions do stands at
/// `Format::fit`.

#include <cstddef>
#include <functional>
#include <string>

#include "formats/format.h"

namespace quillon::formats {

Fit fit_quillon(const Sample& sample);
Fit fit_hmetis(const Sample& sample);
Fit fit_kub(const Sample& sample);
Fit fit_matrix_market(const Sample& sample);
Fit fit_metis(const Sample& sample);
Fit fit_hif(const Sample& sample);
Fit fit_cnf(const Sample& sample);

/// The format of a file, and what chose it.
struct Choice {
  const Format* format;  ///< An entry of the table; null if neither name nor content tell.
  bool by_content;       ///< The name has no known suffix, or the content contradicts it.
};

/// Chooses the format of a file: by suffix, unless the content breaks its rules from the start and obeys
/// those of another format; without a known suffix, by content.
///
/// @param filename  File name, or - for standard input.
/// @param peek      Returns the beginning of the file: at least as many bytes as asked for, or all there are.
///                  A later call may ask for more.
Choice choose_format(const std::string& filename, const std::function<Sample(std::size_t)>& peek);

}  // namespace quillon::formats
