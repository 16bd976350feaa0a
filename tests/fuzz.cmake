# The fuzz targets' functions without a fuzzer: replays fuzz/corpus and fuzz/regressions.
kt_test(fuzz_tests
  fuzz_Replay_test.cpp
  "${PROJECT_SOURCE_DIR}/fuzz/Archive.cpp"
  "${PROJECT_SOURCE_DIR}/fuzz/Log.cpp"
  "${PROJECT_SOURCE_DIR}/fuzz/Step.cpp"
  LINK ktmdl ktstep)
target_include_directories(fuzz_tests PRIVATE "${PROJECT_SOURCE_DIR}/fuzz")
