include(CMakePackageConfigHelpers)

# Public headers are the extensionless files below vesk/; internal headers end in .h.
install(DIRECTORY vesk/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vesk
        FILES_MATCHING REGEX "/[^./]+$")
install(FILES ${VESK_GENERATED_INCLUDE_DIR}/vesk/version DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vesk)
set(vesk_export_targets vesk tiwa vesk_flags)
if(NOT BUILD_SHARED_LIBS)
  # A static libvesk carries its subsystem archives as link dependencies.
  list(APPEND vesk_export_targets ${VESK_COMPONENTS})
endif()
install(TARGETS ${vesk_export_targets} EXPORT VeskTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(TARGET vesk_tool)
  install(TARGETS vesk_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

set(VESK_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Vesk)
install(EXPORT VeskTargets NAMESPACE Vesk:: DESTINATION ${VESK_CMAKE_DIR})
export(EXPORT VeskTargets NAMESPACE Vesk:: FILE ${PROJECT_BINARY_DIR}/VeskTargets.cmake)

configure_package_config_file(cmake/VeskConfig.cmake.in ${PROJECT_BINARY_DIR}/VeskConfig.cmake
                              INSTALL_DESTINATION ${VESK_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VeskConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VeskConfig.cmake ${PROJECT_BINARY_DIR}/VeskConfigVersion.cmake
        DESTINATION ${VESK_CMAKE_DIR})

configure_file(cmake/vesk.pc.in ${PROJECT_BINARY_DIR}/vesk.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vesk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
