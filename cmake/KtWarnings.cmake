# Warning flags of every target of this project; errors only for its developers (KT_STRICT).
add_library(kt_warnings INTERFACE)
target_compile_options(kt_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
  -Woverloaded-virtual -Wdouble-promotion -Wcast-align -Wformat=2
  # Not on Windows, whose COM interfaces have such destructors: every class that implements one
  # would warn. The same sources are checked by the other builds.
  $<$<NOT:$<BOOL:${WIN32}>>:-Wnon-virtual-dtor>
  $<$<CXX_COMPILER_ID:GNU>:-Wsuggest-override>
  $<$<CXX_COMPILER_ID:Clang>:-Wdocumentation>
  $<$<BOOL:${KT_STRICT}>:-Werror>)
