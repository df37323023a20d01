# What goes where with `cmake --install`, and the three Debian packages of `cpack`.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(module_folder ${CMAKE_INSTALL_LIBDIR}/brenholt)

# The host finds the module from its own folder: the installed tree may be moved.
file(RELATIVE_PATH from_bin_to_module /${CMAKE_INSTALL_BINDIR} /${module_folder})
target_compile_definitions(brenholt_host PRIVATE BRENHOLT_MODULE_DIR="${from_bin_to_module}")

# What a host links: the folder of the header, and dlopen where that is a library of its own.
add_library(brenholt_header INTERFACE)
add_library(brenholt::brenholt ALIAS brenholt_header)
set_target_properties(brenholt_header PROPERTIES EXPORT_NAME brenholt)
target_include_directories(brenholt_header INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_libraries(brenholt_header INTERFACE ${CMAKE_DL_LIBS})

# Compresses a file as Debian wants it, the same each time.
function(brenholt_gzip file packed)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
    execute_process(COMMAND gzip -9nc ${file} OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/${packed}
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# brenholt: the module and its window backend.
install(TARGETS brenholt_module brenholt_window_qt
    LIBRARY DESTINATION ${module_folder} COMPONENT runtime)
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime PATTERN man EXCLUDE)

# brenholt-dev: for the author of a host.
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/brenholt)
install(DIRECTORY include/brenholt DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(TARGETS brenholt_header EXPORT brenholt-targets)
install(EXPORT brenholt-targets NAMESPACE brenholt:: DESTINATION ${package_folder} COMPONENT dev)
configure_package_config_file(cmake/brenholt-config.cmake.in brenholt-config.cmake
    INSTALL_DESTINATION ${package_folder} PATH_VARS module_folder NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(brenholt-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/brenholt-config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/brenholt-config-version.cmake
    DESTINATION ${package_folder} COMPONENT dev)
set(pkgconfig_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH from_pkgconfig_to_prefix /${pkgconfig_folder} /)
configure_file(cmake/brenholt.pc.in brenholt.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/brenholt.pc DESTINATION ${pkgconfig_folder} COMPONENT dev)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev PATTERN __pycache__ EXCLUDE)

# brenholt-tools: the programs, and the dissector where Debian's Wireshark looks for it.
install(TARGETS brenholt_host tavrin-panel RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
foreach(manual brenholt.1 tavrin-panel.1)
    brenholt_gzip(docs/man/${manual} ${manual}.gz)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${manual}.gz
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
endforeach()
foreach(program host/brenholt panel/tavrin-panel)
    get_filename_component(name ${program} NAME)
    install(FILES tools/${program}.bash-completion RENAME ${name}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
endforeach()
install(FILES tools/dissector/brenholt.lua
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/wireshark/plugins COMPONENT tools)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime dev tools)
set(CPACK_PACKAGE_CONTACT "The Brenholt maintainers <maintainers@brenholt.example>")

# Each package lists what this version changed, in Debian's form.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS CHANGELOG.md)
file(READ CHANGELOG.md changes)
if(NOT changes MATCHES "\n## ${PROJECT_VERSION} \\(([0-9-]+)\\)\n\n([^#]*)")
    message(FATAL_ERROR "CHANGELOG.md has no section of ${PROJECT_VERSION} with a date")
endif()
set(day ${CMAKE_MATCH_1})
string(STRIP "${CMAKE_MATCH_2}" items)
string(REPLACE "\n" "\n  " items "\n${items}")
string(REPLACE "\n  - " "\n  * " items "${items}")
execute_process(COMMAND date -R -u -d ${day} OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/changelog
    "brenholt (${PROJECT_VERSION}) stable; urgency=medium\n${items}\n\n -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
brenholt_gzip(${CMAKE_CURRENT_BINARY_DIR}/changelog changelog.gz)
foreach(component runtime dev tools)
    string(REGEX REPLACE "-runtime$" "" package brenholt-${component})
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endforeach()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME brenholt)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "Ethernet link to Tavrin operator panels
A module that a host application loads: it finds panels on the local
network, lets the user choose one, and sends it commands, files, memory
blocks and whole folders.
.
Its dialogs need the recommended packages; all else works without a desktop.")
set(CPACK_DEBIAN_DEV_PACKAGE_NAME brenholt-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "brenholt (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEV_DESCRIPTION "Header and examples for hosts of the Brenholt module
The C header of the module's table, a CMake package, a pkg-config file and
examples.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME brenholt-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION net)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS "wireshark | tshark")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "Command line for Tavrin operator panels, and simulated panels
brenholt finds panels, sends them commands and moves files; tavrin-panel
simulates panels. A dissector shows Wireshark what they say to each other.")

# What the binaries need of the system is found in the binaries that are about to be packed.
configure_file(cmake/deb_depends.cmake.in deb_depends.cmake @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_BINARY_DIR}/deb_depends.cmake)
include(CPack)
