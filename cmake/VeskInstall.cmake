include(CMakePackageConfigHelpers)

# Public headers are the extensionless files below vesk/; internal headers end in .h.
install(DIRECTORY vesk/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vesk
        FILES_MATCHING REGEX "/[^./]+$")
install(FILES ${VESK_GENERATED_INCLUDE_DIR}/vesk/version DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vesk)
install(TARGETS vesk tiwa EXPORT VeskTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

# Installed libraries carry no run path. The tool has one only when the
# library directory is outside the loader's default search path, and then a
# relative one, so that the installed tree can move.
if(TARGET vesk_tool)
  if(NOT CMAKE_INSTALL_FULL_LIBDIR IN_LIST CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES)
    file(RELATIVE_PATH vesk_bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(vesk_tool PROPERTIES INSTALL_RPATH "$ORIGIN/${vesk_bin_to_lib}")
    # An old-style run path, which also serves libvesk's own libtiwa.
    target_link_options(vesk_tool PRIVATE LINKER:--disable-new-dtags)
  endif()
  install(TARGETS vesk_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

  # The man page, made from the tool's own --help and the project version when the tool
  # is built. A sanitized tool could fail at exit for its own reasons, so only
  # a plain build makes the page.
  find_program(VESK_HELP2MAN help2man)
  if(VESK_HELP2MAN AND VESK_SANITIZE STREQUAL "")
    set(vesk_man ${PROJECT_BINARY_DIR}/man/vesk.1)
    add_custom_command(OUTPUT ${vesk_man}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
      COMMAND ${VESK_HELP2MAN} --no-info --section=1 --source=Vesk --version-string=${PROJECT_VERSION}
              "--name=URIs, local paths and text conversion on the command line"
              --output=${vesk_man} $<TARGET_FILE:vesk_tool>
      DEPENDS vesk_tool VERBATIM)
    add_custom_target(vesk_man ALL DEPENDS ${vesk_man})
    install(FILES ${vesk_man} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  elseif(VESK_SANITIZE STREQUAL "")
    message(STATUS "help2man not found: the vesk(1) man page is not built")
  endif()
endif()

set(VESK_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Vesk)
install(EXPORT VeskTargets NAMESPACE Vesk:: DESTINATION ${VESK_CMAKE_DIR})
export(EXPORT VeskTargets NAMESPACE Vesk:: FILE ${PROJECT_BINARY_DIR}/VeskTargets.cmake)

# A static libvesk leaves ICU to the program that links it.
get_target_property(VESK_LIBRARY_TYPE vesk TYPE)
configure_package_config_file(cmake/VeskConfig.cmake.in ${PROJECT_BINARY_DIR}/VeskConfig.cmake
                              INSTALL_DESTINATION ${VESK_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VeskConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VeskConfig.cmake ${PROJECT_BINARY_DIR}/VeskConfigVersion.cmake
        DESTINATION ${VESK_CMAKE_DIR})

# vesk.pc finds the installation from its own place, so that the tree can be
# installed under any prefix; a directory given as an absolute path stays one.
file(RELATIVE_PATH VESK_PC_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" VESK_PC_PREFIX "\${pcfiledir}/${VESK_PC_PREFIX}")
foreach(dir LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
    set(VESK_PC_${dir} "${CMAKE_INSTALL_${dir}}")
  else()
    set(VESK_PC_${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
  endif()
endforeach()
configure_file(cmake/vesk.pc.in ${PROJECT_BINARY_DIR}/vesk.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vesk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
