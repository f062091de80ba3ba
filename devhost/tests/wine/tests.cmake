# Windows tests of the development host, run under Wine: LumoDevHost.dll
# registered and used late-bound through IDispatch (also from a JScript probe
# run by cscript), ODBC from Windows code reaching the SQLite driver, and
# vtappsvr.dll's ReadTcp. The demo database is written first by the generator
# built for the build machine.
include(${PROJECT_SOURCE_DIR}/tests/support/probes.cmake)
if(TARGET LumoDevHost)
  set(LUMO_WINE_DB ${CMAKE_CURRENT_BINARY_DIR}/wine-demo.db)
  add_test(NAME devhost_wine_db
    COMMAND ${LUMO_DBGEN_EXE} --quiet --out ${LUMO_WINE_DB} --resources ${CMAKE_CURRENT_SOURCE_DIR}/wine/resources.tsv)
  set_tests_properties(devhost_wine_db PROPERTIES FIXTURES_SETUP devhost_wine_db LABELS "devhost")
  # A second database, never opened, that a test writes over the first while the
  # components keep their connection.
  set(LUMO_WINE_SPARE_DB ${CMAKE_CURRENT_BINARY_DIR}/wine-spare.db)
  add_test(NAME devhost_wine_spare_db
    COMMAND ${LUMO_DBGEN_EXE} --quiet --out ${LUMO_WINE_SPARE_DB} --resources ${CMAKE_CURRENT_SOURCE_DIR}/wine/resources.tsv)
  set_tests_properties(devhost_wine_spare_db PROPERTIES FIXTURES_SETUP devhost_wine_db LABELS "devhost")

  lumo_test(devhost_com_tests SOURCES wine/com_tests.cpp
    LIBS lumo_devhost_components lumo_automation_win lumo_test_support)
  add_dependencies(devhost_com_tests LumoDevHost vtappsvr ${LUMO_DBGEN_TARGET})
  target_compile_definitions(devhost_com_tests PRIVATE
    LUMO_DEVHOST_DLL="$<TARGET_FILE:LumoDevHost>"
    LUMO_VTAPPSVR_DLL="$<TARGET_FILE:vtappsvr>"
    LUMO_SPARE_DB="${LUMO_WINE_SPARE_DB}")
  # Both use the one database, whose journal the tests count.
  set_tests_properties(devhost_com_tests PROPERTIES
    FIXTURES_REQUIRED devhost_wine_db
    RESOURCE_LOCK devhost_wine_db
    ENVIRONMENT "LUMO_DEVHOST_DB=${LUMO_WINE_DB}"
    LABELS "unit;devhost;wine")

  # The script host's view: JScript creates the components by ProgID and reads
  # recordsets as a script does.
  lumo_probe_test(devhost_script_probe PROBES ${CMAKE_CURRENT_SOURCE_DIR}/wine/probe.js
    REGISTER $<TARGET_FILE:LumoDevHost>)
  set_tests_properties(devhost_script_probe PROPERTIES
    FIXTURES_REQUIRED devhost_wine_db
    RESOURCE_LOCK devhost_wine_db
    ENVIRONMENT "LUMO_DEVHOST_DB=${LUMO_WINE_DB}"
    LABELS "devhost;wine")
endif()
