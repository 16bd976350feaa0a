if(NOT TARGET kt_json)
  kt_header_library(kt_json nlohmann/json.hpp)
endif()
kt_test(step_tests
  step_strings_test.cpp step_exchange_test.cpp step_entity_test.cpp step_units_test.cpp
  step_curves_test.cpp step_surfaces_test.cpp step_bodies_test.cpp step_products_test.cpp
  step_file_test.cpp step_damage_test.cpp step_parts_test.cpp step_samples_test.cpp
  LINK ktstep kt_json)
