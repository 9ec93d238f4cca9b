# Images named by their literal names, drawn as vector sources.
file(GLOB corvantis_images CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/images/*.svg)
qt_add_resources(corvantis_resources "corvantis_images"
    PREFIX /images
    BASE ${CMAKE_CURRENT_SOURCE_DIR}/images
    FILES ${corvantis_images})
# The upload page, served byte for byte by the Wi-Fi upload server as ":/index.html".
qt_add_resources(corvantis_resources "corvantis_upload_page"
    PREFIX /
    BASE ${CMAKE_CURRENT_SOURCE_DIR}/upload
    FILES ${CMAKE_CURRENT_SOURCE_DIR}/upload/index.html)
