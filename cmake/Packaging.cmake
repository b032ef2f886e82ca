# The Debian package: `cpack -G DEB` in a build folder makes
# arcavera_<version>-<revision>_<arch>.deb from what `cmake --install` puts
# below the prefix, staged below /usr, with the binaries stripped and the
# dependencies that dpkg-shlibdeps reads off them (StormLib, Qt 6, the C++
# runtime). scripts/package.sh makes a Release build and the package, and
# has lintian look at it.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME arcavera)
set(CPACK_PACKAGE_VENDOR "The Arcavera developers")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://github.com/arcavera/arcavera")
set(ARCAVERA_PACKAGE_MAINTAINER "The Arcavera developers <arcavera@users.noreply.github.com>"
    CACHE STRING "The Maintainer field of the Debian package")
set(CPACK_PACKAGE_CONTACT "${ARCAVERA_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "editor of MPQ archives and StarCraft and WarCraft III maps")
# Lines of at most 80 characters; an empty line parts two paragraphs.
set(CPACK_PACKAGE_DESCRIPTION [[
Arcavera opens MPQ archives, the container format of StarCraft,
WarCraft III and their maps and campaigns, and lists what they hold. It
adds, extracts, deletes and renames stored files, makes new archives,
compacts them and verifies every file against its checksums. Files whose
names the archive does not keep get them back from list files and from what
the map's own scripts, data and models mention; the rest get a type guessed
from their first bytes.

The arcavera-cli command runs the same routines for scripts and build
pipelines; file managers show a map's own picture as its thumbnail through
it.]])

# The package's revision, behind the program's version: a version with one
# makes the package a non-native one, whose changelog is changelog.Debian.gz.
set(ARCAVERA_PACKAGE_REVISION 1 CACHE STRING "The Debian revision of the package")
set(CPACK_DEBIAN_PACKAGE_RELEASE ${ARCAVERA_PACKAGE_REVISION})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The engine reads StormLib's own structures as 9.22 lays them out (see the
# version check of CMakeLists.txt): its shared library's name would let
# another 9.x in.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libstorm9 (>= 9.22), libstorm9 (<< 9.23~)")
# What the binaries do not link but use when present: Qt's own texts in the
# program's language, and the GStreamer elements that play the preview's
# sounds.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-translations-l10n, gstreamer1.0-plugins-good")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

# The files are staged as a DESTDIR install below /usr, as a package build
# stages them: the thumbnailer's Exec line names /usr/bin/arcavera-cli, and the
# install leaves the MIME database and the desktop entry cache to the
# triggers of the system that installs the package.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# Then the staged tree gets what Debian asks of every package: the manual
# pages compressed, and the copyright file and changelog in its doc folder;
# and lintian's overrides.
# (Only CPACK_ variables reach cpack's configuration, and so that script.)
set(CPACK_ARCAVERA_DEBIAN_DIR "${CMAKE_SOURCE_DIR}/packaging/debian")
set(CPACK_ARCAVERA_DOC_DIR "${CMAKE_INSTALL_DATADIR}/doc/arcavera")
set(CPACK_ARCAVERA_MAN_DIR "${CMAKE_INSTALL_MANDIR}")
set(CPACK_ARCAVERA_STRIP "${CMAKE_STRIP}")
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_SOURCE_DIR}/cmake/DebianStaging.cmake")

include(CPack)
