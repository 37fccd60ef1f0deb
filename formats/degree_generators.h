#pragma once
/// @file
/// Generators of hypergraphs with given degrees, and what all generators share. Internal to `formats/`.

#include <memory>

#include "formats/generator.h"

namespace quillon::formats {

/// The size of net j by the law of the recipe.
int size_by_law(const Recipe& recipe, int j);

/// @param most       Most pins that a net can have.
/// @param what       Names them.
/// @throws BadRecipe if the law of sizes goes beyond this, or allows nets without pins.
void require_sizes(const Recipe& recipe, int most, const char* what);

/// For kPowerlaw.
///
/// @throws BadRecipe as `make_generator` does.
std::unique_ptr<Generator> make_powerlaw_generator(const Recipe& recipe);

/// For kFromDegrees.
///
/// @throws BadRecipe as `make_generator` does.
std::unique_ptr<Generator> make_degree_generator(const Recipe& recipe);

}  // namespace quillon::formats
