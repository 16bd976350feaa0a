# The README's sample is compiled and run as it stands there.
set(readme_sample "${CMAKE_CURRENT_BINARY_DIR}/readme_sample.h")
file(READ "${PROJECT_SOURCE_DIR}/README.md" readme)
string(REGEX MATCH "```cpp\n(.*)\n```" _ "${readme}")
string(REPLACE "\\;" ";" sample "${CMAKE_MATCH_1}")
file(CONFIGURE OUTPUT "${readme_sample}" CONTENT "#pragma once\n${sample}\n" @ONLY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/README.md")
kt_test(readme_tests readme_Sample_test.cpp LINK ktdemo)
target_include_directories(readme_tests PRIVATE "${CMAKE_CURRENT_BINARY_DIR}")
