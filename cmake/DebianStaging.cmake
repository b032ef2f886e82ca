# Run by cpack (CPACK_PRE_BUILD_SCRIPTS) on the staged tree of the Debian
# package, before the package is made from it: the manual pages compressed,
# the copyright file and a changelog.Debian.gz in /usr/share/doc/arcavera, as
# Debian's policy asks, and lintian's overrides of the package. gzip -n
# keeps names and time stamps out, so the same tree makes the same package.
set(usr "${CPACK_TEMPORARY_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}")
if(NOT IS_DIRECTORY "${usr}/bin")
  message(FATAL_ERROR "No staged tree at ${usr}")
endif()

file(GLOB pages "${usr}/${CPACK_ARCAVERA_MAN_DIR}/man*/*.[1-9]")
if(NOT pages)
  message(FATAL_ERROR "No manual pages below ${usr}/${CPACK_ARCAVERA_MAN_DIR}")
endif()

# The programs are stripped already (CPACK_STRIP_FILES); the compiler's
# .comment notes go as well, as Debian's own packages lose them.
file(GLOB programs "${usr}/bin/*")
execute_process(COMMAND "${CPACK_ARCAVERA_STRIP}" --remove-section=.comment ${programs} RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "${CPACK_ARCAVERA_STRIP} could not take .comment out of ${programs}")
endif()

# file(COPY), as file(INSTALL) would put the staging install's DESTDIR, still
# set, before these full paths.
set(doc "${usr}/${CPACK_ARCAVERA_DOC_DIR}")
file(COPY "${CPACK_ARCAVERA_DEBIAN_DIR}/copyright" DESTINATION "${doc}"
     FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
file(COPY "${CPACK_ARCAVERA_DEBIAN_DIR}/lintian-overrides" DESTINATION "${usr}/share/lintian/overrides"
     FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
file(RENAME "${usr}/share/lintian/overrides/lintian-overrides" "${usr}/share/lintian/overrides/arcavera")
# The changelog's one entry names the package's version and the time of the
# build (SOURCE_DATE_EPOCH's, when it is set).
set(ARCAVERA_PACKAGE_VERSION "${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
set(ARCAVERA_PACKAGE_MAINTAINER "${CPACK_PACKAGE_CONTACT}")
string(TIMESTAMP ARCAVERA_PACKAGE_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file("${CPACK_ARCAVERA_DEBIAN_DIR}/changelog.in" "${doc}/changelog.Debian" @ONLY)
file(CHMOD "${doc}/changelog.Debian" FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

foreach(file IN LISTS pages ITEMS "${doc}/changelog.Debian")
  execute_process(COMMAND gzip -9nf "${file}" RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "gzip could not compress ${file}")
  endif()
endforeach()
