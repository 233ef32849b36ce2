# Proves that a consumer project builds and runs against Vesk, with
# find_package and with pkg-config. Vesk comes from one of:
#   BINARY_DIR  a build tree, installed into WORK_DIR/prefix;
#   OPTIONS     a fresh library-only build of SOURCE_DIR with these cache
#               options, installed into WORK_DIR/prefix;
#   PREFIX      an installed tree (a Debian package unpacked into a root);
#   SUBDIRECTORY the source tree itself, through add_subdirectory.
function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc)
  if(rc)
    message(FATAL_ERROR "${what} failed (${rc})")
  endif()
endfunction()

cmake_host_system_information(RESULT jobs QUERY NUMBER_OF_LOGICAL_CORES)
file(REMOVE_RECURSE ${WORK_DIR})
set(consumer -S ${SOURCE_DIR}/tests/package/consumer -B ${WORK_DIR}/consumer)
if(SUBDIRECTORY)
  run("consumer configure" ${CMAKE_COMMAND} ${consumer} -DVESK_SOURCE_DIR=${SOURCE_DIR})
  run("consumer build" ${CMAKE_COMMAND} --build ${WORK_DIR}/consumer --parallel ${jobs})
  run("consumer" ${WORK_DIR}/consumer/consumer)
  return()
endif()

if(DEFINED OPTIONS)
  set(BINARY_DIR ${WORK_DIR}/vesk)
  run("library configure" ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${BINARY_DIR} -DVESK_BUILD_TESTS=OFF
      -DVESK_BUILD_TOOLS=OFF -DVESK_BUILD_BENCH=OFF -DVESK_BUILD_FUZZ=OFF -DVESK_INSTALL=ON ${OPTIONS})
  run("library build" ${CMAKE_COMMAND} --build ${BINARY_DIR} --parallel ${jobs})
endif()
if(NOT DEFINED PREFIX)
  set(PREFIX ${WORK_DIR}/prefix)
  run("install" ${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${PREFIX})
endif()

# Installed libraries name no run path, so the programs run with the library
# directory on the loader's path.
file(GLOB_RECURSE libraries ${PREFIX}/libvesk.* ${PREFIX}/libtiwa.*)
foreach(lib IN LISTS libraries)
  get_filename_component(libdir ${lib} DIRECTORY)
  if(lib MATCHES "[.]so[.0-9]*$" AND NOT IS_SYMLINK ${lib})
    file(READ_ELF ${lib} RUNPATH runpath RPATH rpath)
    if(runpath OR rpath)
      message(FATAL_ERROR "${lib} has a run path: ${runpath}${rpath}")
    endif()
  endif()
endforeach()
if(NOT libraries)
  message(FATAL_ERROR "no libvesk under ${PREFIX}")
endif()
set(env ${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${libdir})

run("consumer configure" ${CMAKE_COMMAND} ${consumer} -DCMAKE_PREFIX_PATH=${PREFIX})
run("consumer build" ${CMAKE_COMMAND} --build ${WORK_DIR}/consumer)
run("consumer" ${env} ${WORK_DIR}/consumer/consumer)

# The same program built with the flags pkg-config gives, static ones for a
# static library.
file(GLOB_RECURSE pc ${PREFIX}/vesk.pc)
if(NOT pc)
  message(FATAL_ERROR "no vesk.pc under ${PREFIX}")
endif()
get_filename_component(pcdir ${pc} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pcdir})
set(static)
if(EXISTS ${libdir}/libvesk.a)
  set(static --static)
endif()
find_program(PKG_CONFIG pkg-config REQUIRED)
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs ${static} vesk OUTPUT_VARIABLE flags
                RESULT_VARIABLE rc OUTPUT_STRIP_TRAILING_WHITESPACE)
if(rc)
  message(FATAL_ERROR "pkg-config does not know vesk")
endif()
message(STATUS "pkg-config: ${flags}")
separate_arguments(flags UNIX_COMMAND "${flags}")
run("build with pkg-config flags" c++ -std=c++17 ${SOURCE_DIR}/tests/package/consumer/main.cpp ${flags}
    -o ${WORK_DIR}/consumer-pc)
run("program built with pkg-config flags" ${env} ${WORK_DIR}/consumer-pc)
