# Installs the built tree into a scratch prefix, then configures, builds and
# runs a small consumer project against it with find_package and pkg-config.
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${WORK_DIR}/prefix
                RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "install failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/consumer -B ${WORK_DIR}/build
                -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "consumer configure failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/build RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "consumer build failed")
endif()
execute_process(COMMAND ${WORK_DIR}/build/consumer RESULT_VARIABLE rc OUTPUT_VARIABLE out)
message(STATUS "${out}")
if(rc)
  message(FATAL_ERROR "consumer run failed")
endif()

# The same program built with the flags pkg-config gives for the installed tree.
find_program(PKG_CONFIG pkg-config REQUIRED)
set(ENV{PKG_CONFIG_PATH} "${WORK_DIR}/prefix/lib/pkgconfig:${WORK_DIR}/prefix/lib/x86_64-linux-gnu/pkgconfig")
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs vesk OUTPUT_VARIABLE flags RESULT_VARIABLE rc
                OUTPUT_STRIP_TRAILING_WHITESPACE)
if(rc)
  message(FATAL_ERROR "pkg-config does not know vesk")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
execute_process(COMMAND c++ -std=c++17 ${SOURCE_DIR}/tests/consumer/main.cpp ${flags}
                -o ${WORK_DIR}/consumer-pc RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "build with pkg-config flags failed: ${flags}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E env "LD_LIBRARY_PATH=${WORK_DIR}/prefix/lib" ${WORK_DIR}/consumer-pc
                RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "program built with pkg-config flags failed")
endif()
