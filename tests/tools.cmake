kt_test(tools_tests
  tools_Box_test.cpp
  tools_Demo_test.cpp
  tools_Reference_test.cpp
  LINK ktdemo)
