# The source release: `cmake --build <build dir> --target package_source`
# packs the source tree, data/ included, as vesk-<version>.tar.gz, leaving out
# version control files and build trees.
set(CPACK_SOURCE_GENERATOR "TGZ")
set(CPACK_SOURCE_PACKAGE_FILE_NAME "vesk-${PROJECT_VERSION}")
set(CPACK_SOURCE_IGNORE_FILES
  "/\\.git/" "/\\.git$" "/\\.cache/"
  "/build/" "/build-[^/]*/" "/compile_commands\\.json$")
include(CPack)
