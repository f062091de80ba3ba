# JScript probes as ctest entries: tests/support/run-probes.sh runs them with
# cscript in a throwaway Wine prefix (see there).
#   lumo_probe_test(<name> PROBES <file.js>... [REGISTER <dll>...] [COPY <file>...]
#                   [WATCH <window title>] [DISPLAY])
# REGISTER: in-process servers registered for the run, in this order; COPY: files put
# into the probes' working folder; WATCH: message boxes are answered and logged by
# box_watcher.exe, counting the open windows of that title; DISPLAY: under a private
# Xvfb when no display is set. Properties such as the environment are set by the caller.
include_guard(GLOBAL)

function(lumo_probe_test name)
  cmake_parse_arguments(P "DISPLAY" "WATCH" "PROBES;REGISTER;COPY" ${ARGN})
  set(command ${PROJECT_SOURCE_DIR}/tests/support/run-probes.sh)
  foreach(dll ${P_REGISTER})
    list(APPEND command --register ${dll})
  endforeach()
  foreach(file ${P_COPY})
    list(APPEND command --copy ${file})
  endforeach()
  if(DEFINED P_WATCH)
    list(APPEND command --watcher $<TARGET_FILE:box_watcher> --watch ${P_WATCH})
  endif()
  if(P_DISPLAY)
    list(PREPEND command ${PROJECT_SOURCE_DIR}/scripts/with-xvfb)
  endif()
  add_test(NAME ${name} COMMAND ${command} ${P_PROBES})
  set_tests_properties(${name} PROPERTIES LABELS "wine")
endfunction()
