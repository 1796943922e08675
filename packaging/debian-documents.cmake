# Run by CPack on the tree that becomes a Debian package: names and packs its documents as Debian
# has them.
set(share ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share)
set(doc ${share}/doc/${CPACK_PACKAGE_NAME})

file(RENAME ${doc}/LICENSE ${doc}/copyright)
file(RENAME ${doc}/CHANGELOG.md ${doc}/changelog)
execute_process(COMMAND date -u -R -d ${CPACK_TESSIVO_RELEASE_DATE}
    OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(version ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
file(WRITE ${doc}/changelog.Debian "${CPACK_PACKAGE_NAME} (${version}) stable; urgency=medium

  * What has changed is told in the file changelog.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
execute_process(
    COMMAND gzip -9n ${doc}/changelog ${doc}/changelog.Debian
        ${share}/man/man1/${CPACK_PACKAGE_NAME}.1
    COMMAND_ERROR_IS_FATAL ANY)
