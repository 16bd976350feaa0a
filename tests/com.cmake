kt_test(com_tests
  com_bstr_test.cpp
  com_census_test.cpp
  com_changetype_test.cpp
  com_error_test.cpp
  com_errorinfo_test.cpp
  com_errortext_test.cpp
  com_guid_test.cpp
  com_ptr_test.cpp
  com_safearray_test.cpp
  com_string_test.cpp
  com_text_test.cpp
  com_types_test.cpp
  com_variant_test.cpp
  com_variantt_test.cpp
  LINK ktcom)
