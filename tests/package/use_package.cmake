set(prefix "${WORK_DIR}/prefix")
set(consumer_dir "${SOURCE_DIR}/examples/consumer")
file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")

function(run)
    execute_process(COMMAND ${ARGV} WORKING_DIRECTORY "${WORK_DIR}" OUTPUT_VARIABLE output ERROR_VARIABLE output
        RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        list(JOIN ARGV " " command)
        message(FATAL_ERROR "${command}\nended with ${result}:\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${prefix}")

# The installed programs find the installed library without further settings.
run("${prefix}/bin/vxtool" --version)
foreach(page man/man1/vxtool.1 bash-completion/completions/vxtool zsh/site-functions/_vxtool)
    file(SIZE "${prefix}/share/${page}" size)
    if(size LESS 1000)
        message(FATAL_ERROR "${page} has ${size} bytes")
    endif()
endforeach()
if(EXISTS "${prefix}/bin/vxphone")
    run("${CMAKE_COMMAND}" -E env --unset=DISPLAY --unset=QT_QPA_PLATFORM "${prefix}/bin/vxphone" --version)
    # vxphone logs the address as soon as its window is shown.
    file(WRITE "${WORK_DIR}/start_vxphone.sh" [=[
"$1" --data data --callto tel:+1 &
until grep -qs 'address to call: +1' data/vxphone.log; do
    kill -0 $! || exit 1
    sleep 0.1
done
kill $!
]=])
    run("${CMAKE_COMMAND}" -E env QT_QPA_PLATFORM=offscreen "HOME=${WORK_DIR}" "TMPDIR=${WORK_DIR}"
        sh start_vxphone.sh "${prefix}/bin/vxphone")
    run(desktop-file-validate "${prefix}/share/applications/vxphone.desktop")
endif()

# The README shows the example program verbatim.
file(READ "${consumer_dir}/main.cpp" program)
file(READ "${SOURCE_DIR}/README.md" readme)
string(FIND "${readme}" "${program}" position)
if(position EQUAL -1)
    message(FATAL_ERROR "README.md does not show examples/consumer/main.cpp as it is")
endif()

set(ENV{PKG_CONFIG_PATH} "${prefix}/${LIBRARY_FOLDER}/pkgconfig")
run("${PKG_CONFIG_PROGRAM}" --cflags --libs vxcommon)
separate_arguments(flags UNIX_COMMAND "${output}")
separate_arguments(sanitizer_flags UNIX_COMMAND "${CXX_FLAGS}")
run("${CXX_COMPILER}" -std=c++17 ${sanitizer_flags} "${consumer_dir}/main.cpp" -o pkgconfig_consumer ${flags})
run("${CMAKE_COMMAND}" -E env "LD_LIBRARY_PATH=${prefix}/${LIBRARY_FOLDER}" "${WORK_DIR}/pkgconfig_consumer"
    "skype:Anna")
file(READ "${WORK_DIR}/calls.log" log)
if(NOT log MATCHES " INFO .* main: would dial skype: anna\n$")
    message(FATAL_ERROR "the example logged:\n${log}")
endif()

# Build the example and the tour of the whole library through CMake.
run("${consumer_dir}/run.sh" "${prefix}" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
    "-DCMAKE_BUILD_RPATH=${prefix}/${LIBRARY_FOLDER}")
