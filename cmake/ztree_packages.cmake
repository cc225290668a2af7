# What cpack makes of the install rules; packaging/make.sh is the way to call it.

if(NOT ZTREE_PACKAGES OR NOT ZTREE_TOP_LEVEL)
    if(ZTREE_INSTALL)
        install(FILES LICENSE CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev)
    endif()
    return()
endif()

set(CPACK_PACKAGE_VENDOR "ztree contributors")
# The one place that names whom to write to about a package.
set(CPACK_PACKAGE_CONTACT "ztree contributors <contributors@ztree.invalid>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_THREADS 2)

if(WIN32)
    # --- one zip: unpack, put bin/ on the path, point CMAKE_PREFIX_PATH at it ---
    set(CPACK_GENERATOR ZIP)
    set(CPACK_PACKAGE_FILE_NAME ztree-${PROJECT_VERSION}-win32)
    # The compiler's own runtime: an exception crosses the border of the DLL only if both sides share it.
    foreach(dll libstdc++-6.dll libgcc_s_dw2-1.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll} OUTPUT_VARIABLE path
            OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
        if(NOT EXISTS ${path})
            message(FATAL_ERROR "the compiler does not know its ${dll}")
        endif()
        set(stripped ${PROJECT_BINARY_DIR}/runtime/${dll}) # 2 MB instead of 21
        file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/runtime)
        execute_process(COMMAND ${CMAKE_STRIP} --strip-unneeded -o ${stripped} ${path} COMMAND_ERROR_IS_FATAL ANY)
        install(PROGRAMS ${stripped} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
    endforeach()
    set(doc /usr/share/doc)
    install(FILES LICENSE CHANGELOG.md README.md packaging/win32/licences.txt DESTINATION doc COMPONENT runtime)
    install(FILES ${doc}/gcc-mingw-w64-i686-posix-runtime/copyright DESTINATION doc
        RENAME gcc-runtime-copyright.txt COMPONENT runtime)
    install(FILES ${doc}/mingw-w64-common/copyright DESTINATION doc RENAME mingw-w64-copyright.txt COMPONENT runtime)
    install(FILES /usr/share/common-licenses/GPL-3 DESTINATION doc RENAME GPL-3.txt COMPONENT runtime)
else()
    # --- three debs ---
    set(CPACK_GENERATOR DEB)
    set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
    set(CPACK_DEB_COMPONENT_INSTALL ON)
    set(CPACK_COMPONENTS_ALL runtime dev tools)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_SOURCE ztree)
    set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
    set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own, the first line of its description
    set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
    set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
    set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
        WORLD_READ WORLD_EXECUTE)

    string(CONCAT about "ztree holds code-page-aware strings, arrays that threads may share, attributes,\n"
        "typed trees, XML, CSV records, dates and amounts, logs, and an exception type\n"
        "that also carries hardware faults.")
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libztree1)
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
    # The loader's cache is renewed by the trigger. CPack would add scripts that do it as well: none is made where one
    # is named, and none is packed where it is missing.
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers postinst postrm)
    set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "strings, typed trees, XML, records, logs - runtime library\n${about}")
    set(CPACK_DEBIAN_DEV_PACKAGE_NAME libztree-dev)
    set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
    set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libztree1 (= ${PROJECT_VERSION}), libstdc++-12-dev | libstdc++-dev")
    string(CONCAT CPACK_DEBIAN_DEV_DESCRIPTION "strings, typed trees, XML, records, logs - headers\n${about}\n\n"
        "This package is for building programs with it.")
    set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ztree-tools)
    set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
    set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libztree1 (>= ${PROJECT_VERSION})")
    string(CONCAT CPACK_DEBIAN_TOOLS_DESCRIPTION "reads, searches, changes and writes typed trees and XML\n"
        "The command ztree shows, checks, queries, changes and converts XML files; it\n"
        "has its manual page and completion.")

    # The changelog in Debian's form, of this version.
    file(READ ${PROJECT_SOURCE_DIR}/CHANGELOG.md changes)
    if(NOT changes MATCHES "\n## ${PROJECT_VERSION},")
        message(FATAL_ERROR "CHANGELOG.md has nothing about ${PROJECT_VERSION}")
    endif()
    string(REGEX REPLACE "^.*\n## ${PROJECT_VERSION},[^\n]*\n" "" changes "${changes}")
    string(REGEX REPLACE "\n## .*" "" changes "${changes}")
    string(STRIP "${changes}" changes)
    string(REGEX REPLACE "\n+- " "\n  * " changes "\n- ${changes}")
    string(REGEX REPLACE "\n  ([^*])" "\n    \\1" changes "${changes}")
    string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
    set(log ${PROJECT_BINARY_DIR}/changelog)
    file(WRITE ${log} "ztree (${PROJECT_VERSION}) unstable; urgency=low\n${changes}\n\n -- ${CPACK_PACKAGE_CONTACT}  ${now}\n")
    execute_process(COMMAND gzip -9nf ${log} COMMAND_ERROR_IS_FATAL ANY)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md)

    foreach(part runtime dev tools)
        string(TOUPPER ${part} upper)
        set(doc ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
        install(FILES LICENSE DESTINATION ${doc} RENAME copyright COMPONENT ${part})
        install(FILES ${log}.gz DESTINATION ${doc} COMPONENT ${part})
    endforeach()
endif()
include(CPack)
