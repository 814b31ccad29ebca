# Fails unless the readme shows the program word for word.

cmake_minimum_required(VERSION 3.25)

file(READ "${readme}" text)
file(READ "${program}" code)
string(FIND "${text}" "```cpp\n${code}```" position)
if(position EQUAL -1)
    message(FATAL_ERROR "The program in ${readme} differs from ${program}")
endif()
