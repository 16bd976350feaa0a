kt_test(layers_tests layers_Includes_test.cpp)
