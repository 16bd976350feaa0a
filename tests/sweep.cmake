kt_test(sweep_tests
  sweep_Builders_test.cpp
  sweep_Queries_test.cpp
  sweep_Topo_test.cpp
  support/FakeDispatch.cpp
  support/FaultSweep.cpp
  support/LogCapture.cpp
  support/TopoScene.cpp
  LINK ktmdl ktstandin)
