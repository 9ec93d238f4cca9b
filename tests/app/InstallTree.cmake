# Installs the build into a prefix of its own and runs the installed command
# line: the programs land in bin, the modules loaded on first use in the
# modules folder, and an installed program loads its modules from there, not
# from the build it came from.
#   -DBUILD_DIR= the build tree  -DWORK= a scratch folder
#   -DMODULES= the modules' file names, ';'-separated  -DMODULE_DIR= their folder below the prefix
file(REMOVE_RECURSE "${WORK}")
set(prefix "${WORK}/prefix")
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${prefix}"
                RESULT_VARIABLE result OUTPUT_QUIET)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "install failed: ${result}")
endif()
foreach(program corvantis corvantis-cli)
    if(NOT EXISTS "${prefix}/bin/${program}")
        message(FATAL_ERROR "bin/${program} was not installed")
    endif()
endforeach()
foreach(module ${MODULES})
    if(NOT EXISTS "${prefix}/${MODULE_DIR}/${module}")
        message(FATAL_ERROR "${MODULE_DIR}/${module} was not installed")
    endif()
endforeach()

# Opening a file loads the decoder module: the loader names the file it maps.
execute_process(COMMAND ffmpeg -nostdin -loglevel error -f lavfi -i sine=frequency=440:duration=0.2
                        "${WORK}/tone.wav"
                RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "could not make a tone with ffmpeg")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" -E env "CORVANTIS_HOME=${WORK}/home" LD_DEBUG=files
                        "${prefix}/bin/corvantis-cli" info "${WORK}/tone.wav"
                RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "the installed corvantis-cli info failed (${result}):\n${output}${errors}")
endif()
string(FIND "${errors}" "file=${prefix}/${MODULE_DIR}/libcorvantis-audio-decoder.so" found)
if(found EQUAL -1)
    message(FATAL_ERROR "the installed program did not load its installed decoder module")
endif()
