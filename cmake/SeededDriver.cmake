# ec_seeded_driver(NAME FILE EDIT...): the driver with a defect, as lib<NAME>.so, to show that a proof catches it. One
# file is edited by sed, the rest is what the driver itself is linked from. An edit that changes nothing stops the build.
function(ec_seeded_driver name file)
  set(edited ${CMAKE_CURRENT_BINARY_DIR}/${name}/${file})
  cmake_path(GET edited PARENT_PATH folder)
  set(original ${PROJECT_SOURCE_DIR}/${file})
  list(TRANSFORM ARGN PREPEND --expression= OUTPUT_VARIABLE edits)
  add_custom_command(OUTPUT ${edited}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
    COMMAND sed ${edits} ${original} > ${edited}
    COMMAND sh -c "! cmp -s ${original} ${edited} || { echo ${name}: nothing to edit in ${file}; exit 1; }"
    DEPENDS ${original} VERBATIM)

  cmake_path(GET file FILENAME source)
  string(REPLACE "." "\\." pattern ${source})
  get_target_property(parts emerson_ec_series SOURCES)
  add_library(${name} SHARED EXCLUDE_FROM_ALL ${edited} "$<FILTER:${parts},EXCLUDE,/${pattern}\\.o$>")
  target_compile_options(${name} PRIVATE $<TARGET_PROPERTY:driver_objects,COMPILE_OPTIONS>)
  target_compile_definitions(${name} PRIVATE $<TARGET_PROPERTY:driver_objects,COMPILE_DEFINITIONS>)
  target_link_libraries(${name} PRIVATE Qt5::Core)
  target_link_options(${name} PRIVATE $<TARGET_PROPERTY:emerson_ec_series,LINK_OPTIONS>)
  set_target_properties(${name} PROPERTIES
    LINKER_LANGUAGE CXX CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
endfunction()
