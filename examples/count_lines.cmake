# Fails unless a file has so many lines.

cmake_minimum_required(VERSION 3.25)

file(STRINGS "${file}" lines)
list(LENGTH lines found)
if(NOT found EQUAL count)
    message(FATAL_ERROR "${file} has ${found} lines instead of ${count}")
endif()
