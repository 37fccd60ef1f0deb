# cmake -D out=SOURCE -D "files=FILE;..." -P embed.cmake: defines the text of each file, without its last newline, as a
# string in quillon::tool::page named after the file.
set(source "#include \"tools/report/page_files.h\"\n\nnamespace quillon::tool::page {\n\n")
foreach(file IN LISTS files)
  get_filename_component(name ${file} NAME)
  string(MAKE_C_IDENTIFIER ${name} name)
  file(READ ${file} text)
  string(REGEX REPLACE "\n$" "" text "${text}")
  string(APPEND source "const char* const ${name} = R\"embed(${text})embed\";\n\n")
endforeach()
file(WRITE ${out} "${source}}  // namespace quillon::tool::page\n")
