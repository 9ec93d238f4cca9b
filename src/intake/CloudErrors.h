#pragma once

#include <QString>
#include <optional>
#include <utility>
#include <variant>

// A failure that carries a text of its own. The text travels with the error but
// is not what a screen shows: screens show localizedDescription(), the generic
// sentence every error value gets, which names only the type.
class DescribableError {
public:
    explicit DescribableError(QString description) : description(std::move(description)) {}
    virtual ~DescribableError() = default;
    DescribableError(const DescribableError&) = default;
    DescribableError& operator=(const DescribableError&) = default;

    // Qualified type name, which is also the error's default text form.
    virtual QString typeName() const;
    QString localizedDescription() const;

    QString description;
};

// A failure of the cloud sign-in.
class AuthError : public DescribableError {
public:
    using DescribableError::DescribableError;
    QString typeName() const override;
};

struct UserCancelledError {
    QString localizedDescription;
};

// Any failure a cloud operation reports.
using CloudError = std::variant<DescribableError, AuthError, UserCancelledError>;

// The text the error carries (its description, or the cancellation's sentence).
QString errorText(const CloudError& error);
// What a screen shows for it.
QString localizedDescription(const CloudError& error);

// The result of an asynchronous operation: a value or an error.
template <typename T>
class Result {
public:
    static Result success(T value) { return Result(std::move(value)); }
    static Result failure(CloudError error) { return Result(std::move(error)); }

    bool isSuccess() const { return m_value.index() == 0; }
    const T& value() const { return std::get<0>(m_value); }
    const CloudError& error() const { return std::get<1>(m_value); }

private:
    explicit Result(T value) : m_value(std::in_place_index<0>, std::move(value)) {}
    explicit Result(CloudError error) : m_value(std::in_place_index<1>, std::move(error)) {}

    std::variant<T, CloudError> m_value;
};

using VoidResult = Result<std::monostate>;
