# CPack runs this on the files of a package before it packs them.

set(prefix ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr)
set(documents ${prefix}/share/doc/${CPACK_PACKAGE_NAME})

# Moves the files from where `cmake --install` puts them to their places on Debian.
function(arrange_for_debian)
  file(MAKE_DIRECTORY ${prefix}/lib/tamlin)
  file(RENAME ${prefix}/Tamlin.app ${prefix}/lib/tamlin/Tamlin.app)
  # Debian's zsh looks here for the completions of packages.
  if(EXISTS ${prefix}/share/zsh/site-functions)
    file(RENAME ${prefix}/share/zsh/site-functions ${prefix}/share/zsh/vendor-completions)
  endif()
  file(COPY ${CMAKE_CURRENT_LIST_DIR}/debian/changelog DESTINATION ${documents}
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/lintian-overrides
    ${prefix}/share/lintian/overrides/${CPACK_PACKAGE_NAME} COPYONLY)
endfunction()

function(compress_texts)
  file(GLOB texts ${prefix}/share/man/man*/* ${documents}/changelog)
  execute_process(COMMAND gzip -9 -n ${texts} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# Gives every file the time in SOURCE_DATE_EPOCH if it is set, so that the same sources make
# the same package.
function(set_all_times)
  string(TIMESTAMP time %Y%m%d%H%M.%S UTC)
  execute_process(
    COMMAND ${CMAKE_COMMAND} -E env TZ=UTC
      find ${CPACK_TEMPORARY_INSTALL_DIRECTORY} -exec touch -h -t ${time} {} +
    COMMAND_ERROR_IS_FATAL ANY)
endfunction()

if(CPACK_GENERATOR STREQUAL "DEB")
  arrange_for_debian()
  compress_texts()
endif()
set_all_times()
