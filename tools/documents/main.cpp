// Renders a template over a description of the tool: quillon_documents TEMPLATE [OUTPUT]
//
// Text is escaped for the format that the name of the template tells: NAME.1.mustache is a manual page,
// NAME.md.mustache Markdown; other text is left as it is.

#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <regex>
#include <stdexcept>
#include <string>

#include "tools/commands/commands.h"
#include "tools/documents/model.h"

namespace quillon::tool {
namespace {

using kainjow::mustache::context;
using kainjow::mustache::data;
using kainjow::mustache::mustache;

// Refuses names that the model does not have. They would leave nothing in the output.
class StrictContext : public context<std::string> {
 public:
  const data* get(const std::string& name) const override {
    const data* const found = context<std::string>::get(name);
    if (found == nullptr) throw std::runtime_error("the model has no '" + name + "'");
    return found;
  }
};

// Roff reads a backslash as an escape, a dot or an apostrophe at the start of a line as a request, and a
// plain dash as a hyphen, which differs from the dash of options.
std::string escaped_for_manual(const std::string& text) {
  std::string escaped;
  char before = '\n';
  for (const char c : text) {
    const bool begins_line = before == '\n';
    if (begins_line && (c == '.' || c == '\'')) escaped += "\\&";
    if (c == '\\')
      escaped += "\\e";
    else if (c == '-' && (begins_line || before == ' ' || before == '-'))
      escaped += "\\-";
    else
      escaped += c;
    before = c;
  }
  return escaped;
}

// For cells of tables, which stand on one line.
std::string escaped_for_markdown(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '|') escaped += '\\';
    escaped += c == '\n' ? ' ' : c;
  }
  return escaped;
}

std::string unchanged(const std::string& text) { return text; }

mustache::escape_handler escape_for(const std::string& template_name) {
  if (template_name.ends_with(".1.mustache")) return escaped_for_manual;
  if (template_name.ends_with(".md.mustache")) return escaped_for_markdown;
  return unchanged;
}

// Reads a template, and removes the line end after the tag of a section that stands alone on its line.
std::string template_text(const std::string& filename) {
  std::ifstream in(filename);
  if (!in) throw std::runtime_error("cannot open");
  const std::regex lone_tag(R"(\{\{[#^/]\w+\}\})");
  std::string text;
  for (std::string line; std::getline(in, line);)
    text.append(line).append(std::regex_match(line, lone_tag) ? "" : "\n");
  return text;
}

std::string rendered(const std::string& template_name) {
  mustache view(template_text(template_name));
  if (!view.is_valid()) throw std::runtime_error(view.error_message());
  view.set_custom_escape(escape_for(template_name));
  const data root = template_data(all_commands());
  StrictContext names;
  names.push(&root);
  std::string text = view.render(names);
  if (!view.is_valid()) throw std::runtime_error(view.error_message());
  return text;
}

bool write(const std::string& text, const char* filename) {
  if (filename == nullptr) return bool(std::cout << text << std::flush);
  return bool(std::ofstream(filename, std::ios::binary) << text << std::flush);
}

}  // namespace
}  // namespace quillon::tool

int main(int argc, char** argv) {
  if (argc != 2 && argc != 3) {
    std::fprintf(stderr, "usage: quillon_documents TEMPLATE [OUTPUT]\n");
    return 2;
  }
  const char* const output = argc == 3 ? argv[2] : nullptr;
  try {
    if (quillon::tool::write(quillon::tool::rendered(argv[1]), output)) return 0;
    std::fprintf(stderr, "quillon_documents: cannot write %s\n", output == nullptr ? "-" : output);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quillon_documents: %s: %s\n", argv[1], error.what());
  }
  return 1;
}
