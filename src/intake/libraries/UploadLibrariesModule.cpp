#include "UploadLibraries.h"

extern "C" __attribute__((visibility("default"))) const UploadLibraries*
corvantisUploadLibraries2() {
    static const UploadLibraries libraries{
        {
            &MHD_start_daemon,
            &MHD_stop_daemon,
            &MHD_get_connection_info,
            &MHD_lookup_connection_value,
            &MHD_create_post_processor,
            &MHD_post_process,
            &MHD_destroy_post_processor,
            &MHD_create_response_from_buffer,
            &MHD_add_response_header,
            &MHD_queue_response,
            &MHD_destroy_response,
        },
        {
            &avahi_threaded_poll_new,
            &avahi_threaded_poll_get,
            &avahi_threaded_poll_start,
            &avahi_threaded_poll_stop,
            &avahi_threaded_poll_free,
            &avahi_client_new,
            &avahi_client_free,
            &avahi_client_errno,
            &avahi_entry_group_new,
            &avahi_entry_group_is_empty,
            &avahi_entry_group_add_service,
            &avahi_entry_group_commit,
            &avahi_entry_group_reset,
            &avahi_entry_group_get_client,
            &avahi_alternative_service_name,
            &avahi_strerror,
            &avahi_strdup,
            &avahi_free,
        },
        {
            &QRcode_encodeString,
            &QRcode_free,
        },
    };
    return &libraries;
}
