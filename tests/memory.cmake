# Operations under failing allocations. The libraries are compiled into the program, so that all of
# them take memory with its operator new on every platform, and without pools, so that each object
# takes its own.
set(memory_sources "")
foreach(library ktcom ktstd ktmdl)
  get_target_property(sources ${library} SOURCES)
  get_target_property(folder ${library} SOURCE_DIR)
  list(TRANSFORM sources PREPEND "${folder}/")
  list(APPEND memory_sources ${sources})
endforeach()
add_library(kt_unpooled OBJECT ${memory_sources})
target_compile_definitions(kt_unpooled PUBLIC KTCOM_STATIC KTSTD_STATIC KTMDL_STATIC)
foreach(library ktcom ktstd ktmdl)
  target_include_directories(kt_unpooled PUBLIC
    $<TARGET_PROPERTY:${library},INTERFACE_INCLUDE_DIRECTORIES>)
endforeach()
target_link_libraries(kt_unpooled PRIVATE kt_warnings)
if(WIN32)
  target_link_libraries(kt_unpooled PUBLIC ole32 oleaut32 uuid)
endif()

kt_test(memory_tests
  memory_Containers_test.cpp
  memory_Host_test.cpp
  memory_Kernel_test.cpp
  memory_Regressions_test.cpp
  memory_Sweep_test.cpp
  memory_Types_test.cpp
  memory_Values_test.cpp
  support/AllocationFaults.cpp
  support/EdgeSet.cpp
  support/FakeDispatch.cpp
  support/LogCapture.cpp
  support/MemorySweep.cpp
  support/OccurrenceTree.cpp
  support/ProfileHost.cpp
  support/TopoScene.cpp
  LINK kt_unpooled)
kt_test(pool_tests
  memory_Pool_test.cpp
  support/AllocationFaults.cpp
  support/FakeDispatch.cpp
  "${PROJECT_SOURCE_DIR}/ktstd/ktstd_Pool_detail.cpp"
  LINK ktcom)
target_include_directories(pool_tests PRIVATE "${PROJECT_SOURCE_DIR}")
target_compile_definitions(pool_tests PRIVATE KTSTD_POOLING)
if(WIN32)
  # A runtime library of its own would take its memory past the program's operator new.
  target_link_options(memory_tests PRIVATE -static)
endif()
