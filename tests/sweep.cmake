kt_test(sweep_tests
  sweep_Topo_test.cpp
  support/FakeDispatch.cpp
  support/FaultSweep.cpp
  support/LogCapture.cpp
  support/TopoScene.cpp
  LINK ktmdl ktstandin)
