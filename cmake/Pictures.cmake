# veltrane_pictures(FOLDER TARGET program [FILES patterns...] [LOWER_CASE name])
#
# Copies the pictures of a folder beside the program whenever one of them changes, and makes name a second
# name of that folder where the file system tells the cases apart. Without FILES it copies all of the folder,
# with the folders in it.
function(veltrane_pictures folder)
  cmake_parse_arguments(ARG "" "TARGET;LOWER_CASE" "FILES" ${ARGN})
  if(ARG_FILES)
    list(TRANSFORM ARG_FILES PREPEND ${CMAKE_SOURCE_DIR}/${folder}/ OUTPUT_VARIABLE patterns)
    file(GLOB pictures CONFIGURE_DEPENDS ${patterns})
    set(copy copy ${pictures})
  else()
    file(GLOB_RECURSE pictures CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${folder}/*)
    set(copy copy_directory ${CMAKE_SOURCE_DIR}/${folder})
  endif()
  set(beside ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  set(stamp ${CMAKE_BINARY_DIR}/pictures-${folder}.ok)
  if(ARG_LOWER_CASE)
    set(second_name COMMAND ${CMAKE_COMMAND} -E rm -rf ${beside}/${ARG_LOWER_CASE}
                    COMMAND ${CMAKE_COMMAND} -E create_symlink ${folder} ${beside}/${ARG_LOWER_CASE})
  endif()
  # Afresh, so that a picture which is gone here is gone there.
  add_custom_command(OUTPUT ${stamp}
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${beside}/${folder}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${beside}/${folder}
    COMMAND ${CMAKE_COMMAND} -E ${copy} ${beside}/${folder}
    ${second_name}
    COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
    DEPENDS ${pictures} VERBATIM)
  add_custom_target(${ARG_TARGET}_pictures_${folder} ALL DEPENDS ${stamp})
  add_dependencies(${ARG_TARGET} ${ARG_TARGET}_pictures_${folder})
endfunction()
