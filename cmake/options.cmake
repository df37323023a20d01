# Flags that every target of ours is built with: link brenholt_options.
add_library(brenholt_options INTERFACE)
target_include_directories(brenholt_options INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_compile_options(brenholt_options INTERFACE -Wall -Wextra -Wpedantic)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # A unique symbol would keep the module from ever being unloaded.
    target_compile_options(brenholt_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
endif()
if(BRENHOLT_WERROR)
    target_compile_options(brenholt_options INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(brenholt_options INTERFACE -Wthread-safety)
endif()
if(BRENHOLT_SANITIZE)
    target_compile_options(brenholt_options INTERFACE -fsanitize=${BRENHOLT_SANITIZE}
        -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(brenholt_options INTERFACE -fsanitize=${BRENHOLT_SANITIZE})
endif()
if(BRENHOLT_FUZZ)
    target_compile_options(brenholt_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# For the parts of the module whose time goes into waiting: every host has their pages resident.
function(brenholt_small target)
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-Os>)
endfunction()

# The sanitized presets compile the sources of `target` as one: most of their build is headers. The
# optimised preset compiles each alone, and so sees that each includes what it uses.
function(brenholt_unity_when_sanitized target)
    if(BRENHOLT_SANITIZE)
        set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 0)
    endif()
endfunction()
