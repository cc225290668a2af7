# What `cmake --install` lays down, where, and under which names others find it.

option(ZTREE_PACKAGES "Prepare for cpack: debs on Linux, a zip for Windows" OFF)

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

target_include_directories(ztree INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
set_target_properties(ztree_faults PROPERTIES EXPORT_NAME faults)
if(WIN32)
    enable_language(RC)
    string(REPLACE "." "," ZTREE_VERSION_COMMAS ${PROJECT_VERSION})
    configure_file(packaging/ztree.rc.in ${PROJECT_BINARY_DIR}/ztree.rc @ONLY)
    target_sources(ztree PRIVATE ${PROJECT_BINARY_DIR}/ztree.rc)
    # A consumer that links libgcc statically would not see the library's exceptions.
    target_link_options(ztree INTERFACE $<$<CXX_COMPILER_ID:GNU>:-shared-libgcc>)
else()
    # Hidden visibility does not reach what the compiler instantiates of namespace std.
    set(map ${PROJECT_SOURCE_DIR}/packaging/ztree.map)
    target_link_options(ztree PRIVATE LINKER:--version-script=${map})
    set_property(TARGET ztree APPEND PROPERTY LINK_DEPENDS ${map})
endif()

if(NOT ZTREE_INSTALL)
    return()
endif()

# --- library, headers, what find_package and pkg-config read ---
set(cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ztree)
install(TARGETS ztree ztree_faults EXPORT ztree
    RUNTIME COMPONENT runtime
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT dev
    ARCHIVE COMPONENT dev)
install(EXPORT ztree NAMESPACE ztree:: FILE ztree-targets.cmake DESTINATION ${cmake_dir} COMPONENT dev)
install(DIRECTORY include/ztree DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev FILES_MATCHING PATTERN "*.h")
# How debuggers show the classes.
install(FILES packaging/debug/ztree_gdb.py packaging/debug/ztree.natvis
    DESTINATION ${CMAKE_INSTALL_DATADIR}/ztree COMPONENT dev)

configure_package_config_file(cmake/ztree-config.cmake.in ${PROJECT_BINARY_DIR}/ztree-config.cmake
    INSTALL_DESTINATION ${cmake_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ztree-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ztree-config.cmake ${PROJECT_BINARY_DIR}/ztree-config-version.cmake
    DESTINATION ${cmake_dir} COMPONENT dev)

# Below /usr the file names the prefix, elsewhere it finds it beside itself, so that the tree may be moved.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(ZTREE_PC_PREFIX /usr)
else()
    file(RELATIVE_PATH up ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
    string(REGEX REPLACE "/$" "" up "${up}")
    set(ZTREE_PC_PREFIX "\${pcfiledir}/${up}")
endif()
configure_file(cmake/ztree.pc.in ${PROJECT_BINARY_DIR}/ztree.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ztree.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

# --- tool, with the pages that it prints about itself ---
if(TARGET ztree_tool)
    if(NOT WIN32)
        file(RELATIVE_PATH up ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
        set_target_properties(ztree_tool PROPERTIES INSTALL_RPATH "$ORIGIN/${up}")
    endif()
    install(TARGETS ztree_tool RUNTIME COMPONENT tools)
    if(NOT WIN32 AND NOT CMAKE_CROSSCOMPILING)
        set(pages ${PROJECT_BINARY_DIR}/pages)
        add_custom_command(OUTPUT ${pages}/ztree.1 ${pages}/ztree.bash
            COMMAND ${CMAKE_COMMAND} -E make_directory ${pages}
            COMMAND ztree_tool man > ${pages}/ztree.1
            COMMAND ztree_tool completion bash > ${pages}/ztree.bash
            DEPENDS ztree_tool COMMENT "Manual page and completion" VERBATIM)
        add_custom_target(ztree_pages ALL DEPENDS ${pages}/ztree.1 ${pages}/ztree.bash)
        set(page ${pages}/ztree.1)
        if(ZTREE_PACKAGES) # Debian wants it compressed
            add_custom_command(OUTPUT ${page}.gz COMMAND gzip -9nkf ${page} DEPENDS ${page} VERBATIM)
            add_custom_target(ztree_packed_page ALL DEPENDS ${page}.gz)
            string(APPEND page .gz)
        endif()
        install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
        install(FILES ${pages}/ztree.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
            RENAME ztree COMPONENT tools)
    endif()
endif()
