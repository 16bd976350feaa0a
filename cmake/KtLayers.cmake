# Layers: a target sees the headers of its own layer and of those it links, nothing else.
# Each layer's include root holds one link, named as the layer, to its folder in the source tree.
function(kt_layer target layer)
  string(REPLACE "/" "_" name "${layer}")
  set(root "${PROJECT_BINARY_DIR}/layers/${name}")
  get_filename_component(parent "${root}/${layer}" DIRECTORY)
  file(MAKE_DIRECTORY "${parent}")
  file(CREATE_LINK "${PROJECT_SOURCE_DIR}/${layer}" "${root}/${layer}" COPY_ON_ERROR SYMBOLIC)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "INTERFACE_LIBRARY")
    set(scope INTERFACE)
  else()
    set(scope PUBLIC)
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:kt_warnings>)
  endif()
  target_include_directories(${target} ${scope}
    $<BUILD_INTERFACE:${root}> $<INSTALL_INTERFACE:include>)
endfunction()

# Header-only libraries used by tools and tests are reached through a folder of their own, so that
# a cross build sees them without seeing the other headers of the building machine.
function(kt_header_library target header)
  find_path(KT_${target}_ROOT NAMES "${header}" PATHS /usr/include /usr/local/include
    NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  string(REGEX REPLACE "/.*" "" top "${header}")
  set(root "${PROJECT_BINARY_DIR}/third_party/${target}")
  file(MAKE_DIRECTORY "${root}")
  file(CREATE_LINK "${KT_${target}_ROOT}/${top}" "${root}/${top}" COPY_ON_ERROR SYMBOLIC)
  add_library(${target} INTERFACE)
  target_include_directories(${target} SYSTEM INTERFACE "${root}")
endfunction()
