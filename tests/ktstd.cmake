# The pool is tested in every configuration, so its source is built in here with pooling on.
kt_test(ktstd_tests
  ktstd_ArchiveDamage_test.cpp
  ktstd_ArchiveFile_test.cpp
  ktstd_ArchiveFormat_test.cpp
  ktstd_ArchivePlainWriter_test.cpp
  ktstd_ArchiveSweep_test.cpp
  ktstd_Checksum_test.cpp
  ktstd_Collections_test.cpp
  ktstd_ComProperty_test.cpp
  ktstd_LogOpening_test.cpp
  ktstd_SaveFaults_test.cpp
  ktstd_SharedObject_test.cpp
  ktstd_Values_test.cpp
  Hnd_ktstd_Transient_test.cpp
  ktstd_Archive_test.cpp
  ktstd_AsciiString_test.cpp
  ktstd_BaseSequence_test.cpp
  ktstd_BasicMap_test.cpp
  ktstd_ComTools_test.cpp
  ktstd_Debug_test.cpp
  ktstd_Dim_test.cpp
  ktstd_Schema_test.cpp
  ktstd_Session_test.cpp
  ktstd_TransientHSeq_test.cpp
  ktstd_Transient_test.cpp
  ktstd_Type_test.cpp
  ktstd_fail_test.cpp
  support/FakeDispatch.cpp
  support/TestShared.cpp
  support/Links.cpp
  "${PROJECT_SOURCE_DIR}/ktstd/ktstd_Checksum_detail.cpp"
  "${PROJECT_SOURCE_DIR}/ktstd/ktstd_File_detail.cpp"
  "${PROJECT_SOURCE_DIR}/ktstd/ktstd_Pool_detail.cpp"
  LINK ktstd)
target_compile_definitions(ktstd_tests PRIVATE KTSTD_POOLING)
