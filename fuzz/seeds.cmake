# The fuzzers' seed corpora compiled into the replay tests, so that the same inputs
# run natively and under Wine without reading files:
#   lumo_seed_table(<output.inc> <folder under fuzz/corpus, or . for all of them>)
# writes one row {"<path below the folder>", {<bytes>}}, per seed file, in path order,
# and configures again when a seed changes.
include_guard(GLOBAL)

function(lumo_seed_table output folder)
  get_filename_component(root ${PROJECT_SOURCE_DIR}/fuzz/corpus/${folder} ABSOLUTE)
  file(GLOB_RECURSE seeds CONFIGURE_DEPENDS ${root}/*)
  list(SORT seeds)
  set(table "")
  foreach(seed ${seeds})
    file(RELATIVE_PATH name ${root} ${seed})
    file(READ ${seed} hex HEX)
    string(REGEX REPLACE "(..)" "0x\\1," bytes "${hex}")
    string(APPEND table "{\"${name}\", {${bytes}}},\n")
  endforeach()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${seeds})
  # Written through a copy so that an unchanged table keeps its time stamp.
  file(WRITE ${output}.new "${table}")
  configure_file(${output}.new ${output} COPYONLY)
endfunction()
