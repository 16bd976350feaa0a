# Memory is counted where the libraries take it with the program's operator new.
set(soak_counting "")
if(NOT WIN32)
  set(soak_counting support/AllocationFaults.cpp)
endif()
kt_test(soak_tests
  soak_Lives_test.cpp
  ${soak_counting}
  support/FakeDispatch.cpp
  support/LogCapture.cpp
  support/SoakLife.cpp
  support/SoakModel.cpp
  support/TopoScene.cpp
  LINK ktmdl ktstandin)
# The model's work is most of the time here.
target_compile_options(soak_tests PRIVATE -O1)
