#include "CloudErrors.h"

QString DescribableError::typeName() const {
    return QStringLiteral("Corvantis.DescribableError");
}

QString DescribableError::localizedDescription() const {
    // The generic sentence for an error type that supplies no text to the
    // platform: the carried description stays out of it on purpose.
    return QStringLiteral("The operation couldn\u2019t be completed. (%1 error 1.)")
        .arg(typeName());
}

QString AuthError::typeName() const {
    return QStringLiteral("Corvantis.AuthError");
}

namespace {

// The class-typed alternative, or null for a cancellation.
const DescribableError* describable(const CloudError& error) {
    if (const auto* auth = std::get_if<AuthError>(&error)) {
        return auth;
    }
    return std::get_if<DescribableError>(&error);
}

}  // namespace

QString errorText(const CloudError& error) {
    const DescribableError* described = describable(error);
    return described ? described->description
                     : std::get<UserCancelledError>(error).localizedDescription;
}

QString localizedDescription(const CloudError& error) {
    const DescribableError* described = describable(error);
    return described ? described->localizedDescription()
                     : std::get<UserCancelledError>(error).localizedDescription;
}
