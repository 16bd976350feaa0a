kt_test(life_tests
  life_Parts_test.cpp
  LINK ktdemo)
