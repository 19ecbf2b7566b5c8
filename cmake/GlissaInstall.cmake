# What `cmake --install` gives: public headers, both libraries, the command, a CMake package and a
# pkg-config file for each library. Everything finds its neighbours relative to itself, so that the
# installed tree can be moved.

include(CMakePackageConfigHelpers)
include(PublicHeaders)

foreach(header IN LISTS CORVEKIT_PUBLIC_HEADERS GLISSA_PUBLIC_HEADERS)
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${PROJECT_SOURCE_DIR}/${header}
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder})
endforeach()

# The way from one installed folder to another, as ../.. steps; absolute folders stay absolute.
function(glissa_relative_path result from to)
    if(IS_ABSOLUTE "${from}" OR IS_ABSOLUTE "${to}")
        get_filename_component(path "${to}" ABSOLUTE BASE_DIR "${CMAKE_INSTALL_PREFIX}")
    else()
        file(RELATIVE_PATH path "/prefix/${from}" "/prefix/${to}")
    endif()
    set(${result} "${path}" PARENT_SCOPE)
endfunction()

# Installs one library with its CMake package and its pkg-config file.
#   static_define  the macro that users of the static library need
#   requires       the pkg-config package it builds on, may be empty
function(glissa_install_library target description static_define requires)
    set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${target})

    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN")
    install(TARGETS ${target} EXPORT ${target}Targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(EXPORT ${target}Targets NAMESPACE ${target}:: DESTINATION ${package_dir})

    configure_package_config_file(
        ${PROJECT_SOURCE_DIR}/cmake/${target}Config.cmake.in
        ${PROJECT_BINARY_DIR}/cmake/${target}Config.cmake
        INSTALL_DESTINATION ${package_dir})
    # Before 1.0 every minor version may break the interface.
    write_basic_package_version_file(
        ${PROJECT_BINARY_DIR}/cmake/${target}ConfigVersion.cmake
        COMPATIBILITY SameMinorVersion)
    install(FILES
        ${PROJECT_BINARY_DIR}/cmake/${target}Config.cmake
        ${PROJECT_BINARY_DIR}/cmake/${target}ConfigVersion.cmake
        DESTINATION ${package_dir})

    set(PC_NAME ${target})
    set(PC_DESCRIPTION "${description}")
    set(PC_REQUIRES "${requires}")
    set(PC_CFLAGS "")
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "STATIC_LIBRARY")
        set(PC_CFLAGS "-D${static_define}")
    endif()
    glissa_relative_path(prefix ${CMAKE_INSTALL_LIBDIR}/pkgconfig .)
    if(IS_ABSOLUTE "${prefix}")
        set(PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
    else()
        string(REGEX REPLACE "/$" "" prefix "${prefix}")
        set(PC_PREFIX "\${pcfiledir}/${prefix}")
    endif()
    foreach(folder IN ITEMS INCLUDEDIR LIBDIR)
        if(IS_ABSOLUTE "${CMAKE_INSTALL_${folder}}")
            set(PC_${folder} "${CMAKE_INSTALL_${folder}}")
        else()
            set(PC_${folder} "\${prefix}/${CMAKE_INSTALL_${folder}}")
        endif()
    endforeach()
    configure_file(${PROJECT_SOURCE_DIR}/cmake/library.pc.in
        ${PROJECT_BINARY_DIR}/cmake/${target}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/cmake/${target}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

glissa_install_library(corvekit "Time, object, event, matrix and store services of glissa"
    CORVEKIT_STATIC "")
glissa_install_library(glissa "${PROJECT_DESCRIPTION}"
    GLISSA_STATIC "corvekit = ${PROJECT_VERSION}")

if(TARGET glissa-cli)
    glissa_relative_path(libraries ${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_LIBDIR})
    if(NOT IS_ABSOLUTE "${libraries}")
        set(libraries "$ORIGIN/${libraries}")
    endif()
    set_target_properties(glissa-cli PROPERTIES INSTALL_RPATH "${libraries}")
    install(TARGETS glissa-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
