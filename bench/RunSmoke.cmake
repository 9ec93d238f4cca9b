# cmake -DBENCH=path/to/bench_equalizer -P RunSmoke.cmake
execute_process(COMMAND ${BENCH} --smoke
                RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
message("${output}")
if(NOT result EQUAL 0)
    message(FATAL_ERROR "${BENCH} --smoke exited with ${result}\n${errors}")
endif()
foreach(figure "Corvantis: [0-9.]+x real time" "ffmpeg equalizer x20 [^\n]*: [0-9.]+x real time")
    if(NOT output MATCHES "${figure}")
        message(FATAL_ERROR "the smoke run did not print a figure matching '${figure}'")
    endif()
endforeach()
