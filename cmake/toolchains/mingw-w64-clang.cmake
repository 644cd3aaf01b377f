# Cross-compiles like mingw-w64.cmake, but with Clang, whose warnings differ from those of GCC. Uses the headers and
# libraries of Debian's mingw-w64.

include("${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake")
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_CXX_COMPILER_TARGET ${triplet})

execute_process(COMMAND ${triplet}-g++-posix -print-libgcc-file-name
    OUTPUT_VARIABLE libgcc OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
cmake_path(GET libgcc PARENT_PATH gcc_dir)
set(gcc_headers "${gcc_dir}/include/c++")
# Exclude the headers of this machine, which Clang would add, and emulate thread-local variables as libstdc++ does.
set(CMAKE_CXX_FLAGS_INIT "-nostdlibinc -isystem ${gcc_headers} -isystem ${gcc_headers}/${triplet}")
string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem /usr/${triplet}/include -femulated-tls -Wmicrosoft")
string(APPEND CMAKE_CXX_FLAGS_INIT " -Wno-unused-command-line-argument")
foreach(kind EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "-L${gcc_dir} -L/usr/${triplet}/lib")
endforeach()
set(CMAKE_CXX_STANDARD_LIBRARIES -lpthread)
