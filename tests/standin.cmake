kt_test(standin_tests
  standin_Arguments_test.cpp
  standin_Build_test.cpp
  standin_Census_test.cpp
  standin_Constructions_test.cpp
  standin_Document_test.cpp
  standin_Edge_test.cpp
  standin_Face_test.cpp
  standin_FaultPlan_test.cpp
  standin_Journal_test.cpp
  standin_Keys_test.cpp
  standin_Match_test.cpp
  standin_Members_test.cpp
  standin_Object_test.cpp
  standin_Parts_test.cpp
  standin_Session_test.cpp
  LINK ktstandin)
