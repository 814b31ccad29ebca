# Runs two programs and fails unless both succeed and print the same, non-empty text.

cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND ${reference} OUTPUT_VARIABLE expected COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${client} OUTPUT_VARIABLE actual COMMAND_ERROR_IS_FATAL ANY)
if(expected STREQUAL "" OR NOT actual STREQUAL expected)
    message(FATAL_ERROR "Without optimisation:\n${expected}\nWith optimisation:\n${actual}")
endif()
