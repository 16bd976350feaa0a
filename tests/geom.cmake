kt_test(geom_tests
  geom_curves_test.cpp geom_surfaces_test.cpp geom_faces_test.cpp
  geom_facequeries_test.cpp geom_broken_test.cpp geom_topology_test.cpp geom_delaunay_test.cpp
  geom_parts_test.cpp
  LINK ktgeom ktstep)
