# The .deb goes to /usr and brings what starts the helper; the folder runs from any place.
if(CPACK_GENERATOR STREQUAL "DEB")
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_COMPONENTS_ALL Unspecified system)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
else()
  set(CPACK_COMPONENTS_ALL Unspecified)
  set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
endif()
