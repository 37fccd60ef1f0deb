#include "tools/report/page_data.h"

#include <fmt/format.h>

#include <cmath>
#include <utility>

#include "tools/report/text.h"

namespace quillon::tool::page {
namespace {

constexpr const char* kName = "name";  // class of texts

// The class of a cell of the first row, or false.
data class_below(const list& rows, std::size_t column) {
  if (rows.empty()) return false;
  const data* const name = rows.front().get("cells")->list_value()[column].get("class");
  return name != nullptr && name->string_value() == kName ? *name : data(false);
}

}  // namespace

object figure(const std::string& shown) { return {{"shown", shown}}; }

object figure(std::int64_t number) { return figure(grouped(number)); }

object figure(const std::string& id, std::int64_t number) {
  return {{"id", id}, {"value", std::to_string(number)}, {"shown", grouped(number)}};
}

object figure(const std::string& id, double number) {
  if (!std::isfinite(number)) return figure(decimal(number));
  return {{"id", id}, {"value", fmt::format("{:.9g}", number)}, {"shown", decimal(number)}};
}

object figure_if(bool is_known, const std::string& id, std::int64_t number) {
  return is_known ? figure(id, number) : figure(kDash);
}

object share(double part, double whole) { return figure(percentage(part / whole)); }

object name_cell(const std::string& name) { return {{"shown", name}, {"class", kName}}; }

std::string layout(bool is_wide) { return is_wide ? "stack" : "columns"; }

data row(const std::string& name, const list& cells) { return object{{"name", name}, {"cells", cells}}; }

object table(const std::string& caption, const std::vector<std::string>& headings, const list& rows) {
  list head;
  for (std::size_t column = 0; column < headings.size(); ++column) {
    const std::string& heading = headings[column];
    head.emplace_back(object{{"name", heading.empty() ? data(false) : data(heading)},
                             {"class", column == 0 ? data(false) : class_below(rows, column - 1)}});
  }
  return {{"caption", caption}, {"head", head}, {"rows", rows}};
}

data table_unless_empty(const std::string& caption, const std::vector<std::string>& headings,
                        const list& rows) {
  return rows.empty() ? data(false) : data(table(caption, headings, rows));
}

object tile(const std::string& name, object content) {
  content.emplace("name", name);
  return content;
}

object tile(const std::string& name, const std::string& id, std::int64_t number) {
  constexpr std::int64_t kSevenDigits = 1000000;
  object content = figure(id, number);
  if (number >= kSevenDigits) content.emplace("short", short_form(static_cast<double>(number)));
  return tile(name, std::move(content));
}

}  // namespace quillon::tool::page
