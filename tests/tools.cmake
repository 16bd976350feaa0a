kt_test(tools_tests
  support/LogCapture.cpp
  tools_Box_test.cpp
  tools_Demo_test.cpp
  tools_Picture_test.cpp
  tools_Rectangle_test.cpp
  tools_Reference_test.cpp
  LINK ktdemo)
