# One place for the compiler settings that every target of the project shares.

# Adds the language level, warnings and floating point rules to a target.
function(glissa_target_settings target)
    target_compile_features(${target} PUBLIC cxx_std_20)
    set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
    # Each stated rounding of the library is a real one: no contraction into fused operations, and
    # never a fast-math flag.
    target_compile_options(${target} PRIVATE
        -ffp-contract=off -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
    # 32-bit x86 rounds doubles to doubles only in the registers of SSE2.
    if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86|x86_64|AMD64)$")
        target_compile_options(${target} PRIVATE -msse2 -mfpmath=sse)
    endif()
    if(GLISSA_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(GLISSA_SANITIZE)
        target_compile_options(${target} PRIVATE
            -fsanitize=${GLISSA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${GLISSA_SANITIZE})
    endif()
    if(GLISSA_FUZZERS)
        target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
endfunction()

# Declares one of the two libraries: hidden symbols, an export macro, an alias, a version.
function(glissa_add_library target export_macro)
    add_library(${target})
    add_library(${target}::${target} ALIAS ${target})
    glissa_target_settings(${target})
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "STATIC_LIBRARY")
        target_compile_definitions(${target} PUBLIC ${export_macro}_STATIC)
    endif()
    target_compile_definitions(${target} PRIVATE ${export_macro}_BUILD)
    # Nobody replaces a function of the library from outside, so calls inside it go straight.
    target_compile_options(${target} PRIVATE -fno-semantic-interposition)
    set_target_properties(${target} PROPERTIES
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON
        VERSION ${PROJECT_VERSION}
        # Before 1.0 every minor version may break the binary interface.
        SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
    target_include_directories(${target} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
endfunction()
