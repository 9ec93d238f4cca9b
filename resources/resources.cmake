# Images named by their literal names, rendered from vector sources.
qt_add_resources(corvantis_resources "corvantis_images"
    PREFIX /images
    BASE ${CMAKE_CURRENT_SOURCE_DIR}/images
    FILES
        ${CMAKE_CURRENT_SOURCE_DIR}/images/cd-90.svg
        ${CMAKE_CURRENT_SOURCE_DIR}/images/person-90.svg)
# The upload page, served byte for byte by the Wi-Fi upload server as ":/index.html".
qt_add_resources(corvantis_resources "corvantis_upload_page"
    PREFIX /
    BASE ${CMAKE_CURRENT_SOURCE_DIR}/upload
    FILES ${CMAKE_CURRENT_SOURCE_DIR}/upload/index.html)
