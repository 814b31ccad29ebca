# Run by CPack on what it is about to put into packages: an installed tree finds its libraries beside itself, in a
# package they lie where the system looks.

foreach(tree IN ITEMS ${CPACK_TEMPORARY_DIRECTORY})
    file(GLOB_RECURSE files ${tree}/*)
    foreach(file IN LISTS files)
        if(IS_SYMLINK ${file})
            continue()
        endif()
        file(READ ${file} magic LIMIT 4 HEX)
        if(magic STREQUAL "7f454c46")
            file(RPATH_REMOVE FILE ${file})
        endif()
    endforeach()

    # Python finds there what packages bring, for whichever of its versions.
    file(GLOB modules ${tree}/python/usr/lib/python3.*/site-packages)
    if(modules)
        file(MAKE_DIRECTORY ${tree}/python/usr/lib/python3)
        file(RENAME ${modules} ${tree}/python/usr/lib/python3/dist-packages)
        get_filename_component(emptied ${modules} DIRECTORY)
        file(REMOVE_RECURSE ${emptied})
    endif()

    # Each package tells of itself where Debian looks for it.
    file(GLOB components ${tree}/*)
    foreach(component IN LISTS components)
        get_filename_component(key ${component} NAME)
        string(TOUPPER ${key} upper)
        set(name ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
        if(name)
            set(docs ${component}/usr/share/doc/${name})
            file(WRITE ${docs}/copyright
                 "QELTGeometry, by its maintainers.\nNo licence has been chosen for the project yet: all rights are reserved.\n")
            file(WRITE ${docs}/changelog.Debian
                 "qeltgeometry (${CPACK_PACKAGE_VERSION}-1) unstable; urgency=medium\n\n  * See CHANGELOG.md of the sources.\n\n"
                 " -- ${CPACK_PACKAGE_CONTACT}  Thu, 01 Jan 2026 00:00:00 +0000\n")
            execute_process(COMMAND gzip -9nf ${docs}/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)
        endif()
    endforeach()
endforeach()
