#pragma once

#include <avahi-client/client.h>
#include <avahi-client/publish.h>
#include <avahi-common/alternative.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-common/thread-watch.h>
#include <microhttpd.h>
#include <qrencode.h>

#include <QString>

// The upload server's HTTP library (with its TLS chain), the local network
// announcement's client library and the QR code encoder come from a module of
// their own
// (libcorvantis-upload-libraries.so) loaded when the server first starts: a
// launch maps and relocates none of them. The module is nothing but this
// table of the functions the server uses.
struct UploadLibraries {
    struct Http {
        decltype(&MHD_start_daemon) startDaemon;
        decltype(&MHD_stop_daemon) stopDaemon;
        decltype(&MHD_get_connection_info) getConnectionInfo;
        decltype(&MHD_lookup_connection_value) lookupConnectionValue;
        decltype(&MHD_create_post_processor) createPostProcessor;
        decltype(&MHD_post_process) postProcess;
        decltype(&MHD_destroy_post_processor) destroyPostProcessor;
        decltype(&MHD_create_response_from_buffer) createResponseFromBuffer;
        decltype(&MHD_add_response_header) addResponseHeader;
        decltype(&MHD_queue_response) queueResponse;
        decltype(&MHD_destroy_response) destroyResponse;
    };
    struct Announcement {
        decltype(&avahi_threaded_poll_new) threadedPollNew;
        decltype(&avahi_threaded_poll_get) threadedPollGet;
        decltype(&avahi_threaded_poll_start) threadedPollStart;
        decltype(&avahi_threaded_poll_stop) threadedPollStop;
        decltype(&avahi_threaded_poll_free) threadedPollFree;
        decltype(&avahi_client_new) clientNew;
        decltype(&avahi_client_free) clientFree;
        decltype(&avahi_client_errno) clientErrno;
        decltype(&avahi_entry_group_new) entryGroupNew;
        decltype(&avahi_entry_group_is_empty) entryGroupIsEmpty;
        decltype(&avahi_entry_group_add_service) entryGroupAddService;
        decltype(&avahi_entry_group_commit) entryGroupCommit;
        decltype(&avahi_entry_group_reset) entryGroupReset;
        decltype(&avahi_entry_group_get_client) entryGroupGetClient;
        decltype(&avahi_alternative_service_name) alternativeServiceName;
        decltype(&avahi_strerror) strerror;
        decltype(&avahi_strdup) strdup;
        decltype(&avahi_free) free;
    };
    // The upload screen shows its address as a QR code too.
    struct QrCode {
        decltype(&QRcode_encodeString) encodeString;
        decltype(&QRcode_free) free;
    };
    Http http;
    Announcement announcement;
    QrCode qrCode;

    // The process's table, loaded on first use; when that fails it logs why
    // once and answers nullptr, with the reason in `error`, from then on.
    static const UploadLibraries* shared(QString* error = nullptr);
    // Where the module is looked for: beside the running program, else where
    // the build put it.
    static QString modulePath();
};

// The one symbol the module exports; its name carries the table's generation,
// so a module left from an older build is refused, not misread.
using UploadLibrariesEntry = const UploadLibraries* (*)();
inline constexpr char kUploadLibrariesEntry[] = "corvantisUploadLibraries2";
