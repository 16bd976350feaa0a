kt_test(life_tests
  life_Builders_test.cpp
  life_Parts_test.cpp
  LINK ktdemo)
