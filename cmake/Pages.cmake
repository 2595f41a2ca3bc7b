# The pages as they ship (BUILD/web): scripts and style sheets minified, translations compact, every
# file gzip-compressed (tools/pages/build-pages.mjs). The package installs this folder and the
# browser tests serve it, so what is tested is what the controller carries. The tools come from the
# npm registry, pinned by tools/pages/package-lock.json, into BUILD/pages-tools; zopfli from Debian.
find_program(KYR_NODE node REQUIRED)
find_program(KYR_NPM npm REQUIRED)
find_program(KYR_ZOPFLI zopfli REQUIRED)

set(kyrPagesTools ${CMAKE_BINARY_DIR}/pages-tools)
set(kyrPagesToolsSource ${PROJECT_SOURCE_DIR}/tools/pages)
set(kyrShippedPages ${CMAKE_BINARY_DIR}/web)
file(GLOB_RECURSE kyrPageSources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/web/*)

add_custom_command(
  OUTPUT ${kyrPagesTools}/node_modules/.package-lock.json
  COMMAND ${CMAKE_COMMAND} -E make_directory ${kyrPagesTools}
  COMMAND ${CMAKE_COMMAND} -E copy ${kyrPagesToolsSource}/package.json ${kyrPagesToolsSource}/package-lock.json ${kyrPagesTools}
  COMMAND ${KYR_NPM} ci --prefix ${kyrPagesTools} --no-audit --no-fund --loglevel=error
  DEPENDS ${kyrPagesToolsSource}/package.json ${kyrPagesToolsSource}/package-lock.json
  COMMENT "Installing the page tools (npm ci)"
  VERBATIM)
# The script runs from the tools' folder, where Node finds their modules.
add_custom_command(
  OUTPUT ${CMAKE_BINARY_DIR}/web.stamp
  COMMAND ${CMAKE_COMMAND} -E copy ${kyrPagesToolsSource}/build-pages.mjs ${kyrPagesTools}
  COMMAND ${KYR_NODE} ${kyrPagesTools}/build-pages.mjs ${PROJECT_SOURCE_DIR}/web ${kyrShippedPages}
  COMMAND ${CMAKE_COMMAND} -E touch ${CMAKE_BINARY_DIR}/web.stamp
  DEPENDS ${kyrPageSources} ${kyrPagesToolsSource}/build-pages.mjs ${kyrPagesTools}/node_modules/.package-lock.json
  COMMENT "Building the shipped pages"
  VERBATIM)
add_custom_target(kyr_pages ALL DEPENDS ${CMAKE_BINARY_DIR}/web.stamp)
