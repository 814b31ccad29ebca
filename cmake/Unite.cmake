# Sources compiled several at a time, where QELT_UNITE asks for it: the headers are read once for all of them, and
# templates are compiled once instead of once a source. A checking build takes about half the time that way. A build
# after a small change takes longer, so nobody's daily build does it.
#
# Sources that stand together share their unnamed namespaces. They are dealt out such that nothing which one of them
# defines is defined in another but for overloads, and no constant or type of one is so much as mentioned in another: what compiles
# alone then compiles together, without a warning on shadowing either. Definitions are found by their place: those at
# namespace scope begin their line in formatted sources.

set(QELT_UNITE
    ""
    CACHE STRING "What is compiled several sources at a time: a list of library, app and tests")

set(qelt_sources_in_group 12)

# qelt_names_before(<tail> <pattern> <text> <result>): of each match of the pattern and then the tail, the last
# identifier before the tail.
function(qelt_names_before tail pattern text result)
    string(REGEX MATCHALL "${pattern}[A-Za-z0-9_]+${tail}" names "${text}")
    list(TRANSFORM names REPLACE "^.*[^A-Za-z0-9_]([A-Za-z0-9_]+)${tail}$" "\\1")
    list(REMOVE_DUPLICATES names)
    set(${result} ${names} PARENT_SCOPE)
endfunction()

# qelt_read_signatures(<text> <result>): the functions that begin a line, without the names of their parameters.
function(qelt_read_signatures text result)
    string(REGEX MATCHALL "\n[A-Za-z][A-Za-z0-9_:<>,&* ]*[ &*][A-Za-z0-9_]+\\([^]\n;[]*" signatures "${text}")
    list(TRANSFORM signatures REPLACE "^[^(]*[ &*]([A-Za-z0-9_]+\\(.*)$" "\\1")
    list(TRANSFORM signatures REPLACE "[ &*][a-z][A-Za-z0-9]*([,)])" "\\1")
    list(REMOVE_DUPLICATES signatures)
    set(${result} ${signatures} PARENT_SCOPE)
endfunction()

# qelt_words_of_headers(<text> <result>): the identifiers in this project's headers that a text includes.
function(qelt_words_of_headers text result)
    set(words "")
    string(REGEX MATCHALL "#include \"[A-Za-z0-9_/.]+\"" headers "${text}")
    foreach(header IN LISTS headers)
        string(REGEX REPLACE "^.*\"(.*)\"$" "${PROJECT_SOURCE_DIR}/\\1" header "${header}")
        if(EXISTS ${header})
            file(READ ${header} content)
            string(REGEX REPLACE "//[^\n]*" "" content "${content}")
            string(REGEX MATCHALL "[A-Za-z_][A-Za-z0-9_]*" found "${content}")
            list(APPEND words ${found})
        endif()
    endforeach()
    list(REMOVE_DUPLICATES words)
    set(${result} ${words} PARENT_SCOPE)
endfunction()

# qelt_read_names(<source>): gives source_reserved, the constants and types that the source defines at namespace
# scope and the functions that it hands on by name, source_defined, these and all functions, source_signatures of the
# functions, source_imported, what its using declarations name, and source_words, all identifiers in it and in the
# headers that it includes.
function(qelt_read_names source)
    file(READ ${source} text)
    qelt_words_of_headers("${text}" words_of_headers)
    string(REGEX REPLACE "//[^\n]*|\\[[A-Za-z0-9_]*\\]|\"[^\"\n]*\"|\nnamespace[^\n]*" "" text "\n${text}")
    string(REGEX MATCHALL "[A-Za-z_][A-Za-z0-9_]*" words "${text}")
    list(APPEND words ${words_of_headers})
    list(REMOVE_DUPLICATES words)
    qelt_names_before("[ \n]+[={:]" "\n(struct|class|enum class|using) " "${text}" types)
    qelt_names_before(" *[={]" "\n[a-z][A-Za-z0-9_:<>, *]*[ &*]" "${text}" constants)
    qelt_names_before("\\(" "\n[A-Za-z][A-Za-z0-9_:<>,&* ]*[ &*]" "${text}" functions)
    qelt_read_signatures("${text}" signatures)
    qelt_names_before("" "\nusing [A-Za-z0-9_:]+::" "${text}" imported)
    set(reserved ${types} ${constants})
    foreach(function IN LISTS functions)
        if(text MATCHES "[^A-Za-z0-9_]${function}[,)]")
            list(APPEND reserved ${function})
        endif()
    endforeach()
    list(REMOVE_DUPLICATES reserved)
    set(defined ${reserved} ${functions})
    list(REMOVE_DUPLICATES defined)
    foreach(kind IN ITEMS words reserved defined signatures imported)
        set(source_${kind} ${${kind}} PARENT_SCOPE)
    endforeach()
endfunction()

# qelt_have_common(<list> <list> <result>): whether an element stands in both lists, neither of which repeats one.
function(qelt_have_common first second result)
    set(both ${${first}} ${${second}})
    list(LENGTH both sum)
    list(REMOVE_DUPLICATES both)
    list(LENGTH both distinct)
    if(distinct LESS sum)
        set(${result} ON PARENT_SCOPE)
    else()
        set(${result} OFF PARENT_SCOPE)
    endif()
endfunction()

# qelt_fits_into(<group> <result>): whether the source last read may stand with those of a group.
function(qelt_fits_into group result)
    set(${result} OFF PARENT_SCOPE)
    list(LENGTH ${group}_sources count)
    if(count EQUAL qelt_sources_in_group)
        return()
    endif()
    foreach(
        pair IN
        ITEMS "source_signatures ${group}_signatures"
              "source_reserved ${group}_words"
              "${group}_reserved source_words"
              "source_imported ${group}_defined"
              "${group}_imported source_defined")
        separate_arguments(pair)
        qelt_have_common(${pair} collide)
        if(collide)
            return()
        endif()
    endforeach()
    set(${result} ON PARENT_SCOPE)
endfunction()

# qelt_unite(<target> <part>): deals the sources of a target to groups, if QELT_UNITE names the part it belongs to.
function(qelt_unite target part)
    if(NOT part IN_LIST QELT_UNITE)
        return()
    endif()
    set(groups "")
    get_target_property(sources ${target} SOURCES)
    list(FILTER sources INCLUDE REGEX "\\.cpp$")
    foreach(source IN LISTS sources)
        get_filename_component(path ${source} ABSOLUTE)
        get_source_file_property(isGenerated ${source} GENERATED)
        if(isGenerated)
            continue() # made by the build: compiles alone, whether or not it is there yet
        endif()
        qelt_read_names(${path})
        set(chosen "")
        foreach(group IN LISTS groups)
            qelt_fits_into(${group} fits)
            if(fits)
                set(chosen ${group})
                break()
            endif()
        endforeach()
        if(NOT chosen)
            list(LENGTH groups number)
            set(chosen ${target}_${number})
            list(APPEND groups ${chosen})
        endif()
        list(APPEND ${chosen}_sources ${source})
        foreach(kind IN ITEMS words reserved defined signatures imported)
            list(APPEND ${chosen}_${kind} ${source_${kind}})
            list(REMOVE_DUPLICATES ${chosen}_${kind})
        endforeach()
        set_property(SOURCE ${source} PROPERTY UNITY_GROUP ${chosen})
    endforeach()
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    # What a source has for itself is no less so where it is included by a group.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endfunction()
