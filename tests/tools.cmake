kt_test(tools_tests
  tools_Demo_test.cpp
  LINK ktdemo)
