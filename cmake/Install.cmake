# What is installed: the shared and the static library, the public headers, and what CMake and pkg-config need to find them.
# Components: runtime, development; tools are added where they are built.

include(CMakePackageConfigHelpers)

# A header is public when rasterkit.h brings it in.
set(public_headers "")
set(unread rasterkit/rasterkit.h)
while(unread)
  list(POP_FRONT unread header)
  if(header IN_LIST public_headers OR NOT EXISTS ${PROJECT_SOURCE_DIR}/${header})
    continue()
  endif()
  list(APPEND public_headers ${header})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${header})
  file(STRINGS ${PROJECT_SOURCE_DIR}/${header} includes REGEX "^#include <rasterkit/")
  list(TRANSFORM includes REPLACE "^#include <([^>]+)>.*" "\\1")
  list(APPEND unread ${includes})
endwhile()

foreach(header ${public_headers})
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder} COMPONENT development)
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/include/rasterkit/version.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rasterkit COMPONENT development)

set_target_properties(rasterkit_shared PROPERTIES EXPORT_NAME shared)
set_target_properties(rasterkit_static PROPERTIES EXPORT_NAME static)
install(TARGETS rasterkit_shared rasterkit_static EXPORT rasterkit
  RUNTIME COMPONENT runtime
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/rasterkit)
install(EXPORT rasterkit NAMESPACE rasterkit:: FILE rasterkitTargets.cmake DESTINATION ${package_folder} COMPONENT development)
if(BUILD_SHARED_LIBS)
  set(RASTERKIT_KIND shared)
else()
  set(RASTERKIT_KIND static)
endif()
configure_package_config_file(cmake/package/rasterkitConfig.cmake.in ${PROJECT_BINARY_DIR}/package/rasterkitConfig.cmake
  INSTALL_DESTINATION ${package_folder} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/rasterkitConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/rasterkitConfig.cmake ${PROJECT_BINARY_DIR}/package/rasterkitConfigVersion.cmake
  DESTINATION ${package_folder} COMPONENT development)

# The prefix is told from where the file lies, so that an installed tree may be moved.
file(RELATIVE_PATH RASTERKIT_UP /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" RASTERKIT_UP "${RASTERKIT_UP}")
list(TRANSFORM RASTERKIT_SYSTEM_LIBRARIES PREPEND "-l" OUTPUT_VARIABLE RASTERKIT_PC_LIBRARIES)
list(JOIN RASTERKIT_PC_LIBRARIES " " RASTERKIT_PC_LIBRARIES)
configure_file(cmake/package/rasterkit.pc.in ${PROJECT_BINARY_DIR}/package/rasterkit.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/rasterkit.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
