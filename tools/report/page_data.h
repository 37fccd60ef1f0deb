#pragma once
// Values, rows and tables as the templates of the page show them.

#include <cstdint>
#include <kainjow/mustache.hpp>
#include <string>
#include <vector>

namespace quillon::tool::page {

using kainjow::mustache::data;
using kainjow::mustache::list;
using kainjow::mustache::object;

inline constexpr const char* kDash = "\u2013";

object figure(const std::string& shown);
object figure(std::int64_t number);

/// A number for readers, together with the number for programs.
object figure(const std::string& id, std::int64_t number);
object figure(const std::string& id, double number);

/// A dash if the number is not known.
object figure_if(bool is_known, const std::string& id, std::int64_t number);

object share(double part, double whole);

/// A name of a cell or net, or another text, to the left in its column.
object name_cell(const std::string& name);

/// The class of the layout for two tables: side by side, or wide ones one below the other.
std::string layout(bool is_wide);

data row(const std::string& name, const list& cells);

/// An empty heading is a corner of the table. Headings are aligned like the cells of the first row.
object table(const std::string& caption, const std::vector<std::string>& headings, const list& rows);

/// False without rows.
data table_unless_empty(const std::string& caption, const std::vector<std::string>& headings,
                        const list& rows);

object tile(const std::string& name, object content);

/// Large numbers are shown rounded, with the exact number below.
object tile(const std::string& name, const std::string& id, std::int64_t number);

}  // namespace quillon::tool::page
