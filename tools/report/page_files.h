#pragma once
// Templates and style of the HTML page; embed.cmake defines them from the files of these names.

namespace quillon::tool::page {

extern const char* const distribution_mustache;
extern const char* const figure_mustache;
extern const char* const page_css;
extern const char* const page_mustache;
extern const char* const table_mustache;
extern const char* const tile_list_mustache;

}  // namespace quillon::tool::page
