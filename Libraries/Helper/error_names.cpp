#include "api_helper.h"

#include <algorithm>
#include <array>

namespace RavikSrv
{

namespace
{

struct ErrorName
{
    ErrorValue value;
    char const* name;
};

#define RAVIK_ERROR_NAME(name)                                                                                         \
    ErrorName                                                                                                          \
    {                                                                                                                  \
        ErrorValue::name, #name                                                                                        \
    }

/// In the order of the values.
constexpr std::array error_names{RAVIK_ERROR_NAME(SUCCESS),
                                 RAVIK_ERROR_NAME(FINISHED),
                                 RAVIK_ERROR_NAME(DISCONNECTED),
                                 RAVIK_ERROR_NAME(SHUTDOWN),
                                 RAVIK_ERROR_NAME(RESTART),
                                 RAVIK_ERROR_NAME(SKIP),
                                 RAVIK_ERROR_NAME(FIRST_INIT),
                                 RAVIK_ERROR_NAME(UPGRADE),
                                 RAVIK_ERROR_NAME(UNCHANGED),
                                 RAVIK_ERROR_NAME(IGNORE),
                                 RAVIK_ERROR_NAME(SERVER),
                                 RAVIK_ERROR_NAME(FAIL),
                                 RAVIK_ERROR_NAME(UNEXPECTED),
                                 RAVIK_ERROR_NAME(SCRIPT),
                                 RAVIK_ERROR_NAME(REQUIRED_EXTENSION_MISSING),
                                 RAVIK_ERROR_NAME(INIT),
                                 RAVIK_ERROR_NAME(NO_LANGUAGE_FILE),
                                 RAVIK_ERROR_NAME(SYNTAX),
                                 RAVIK_ERROR_NAME(FILE_NOT_FOUND),
                                 RAVIK_ERROR_NAME(FILESYSTEM),
                                 RAVIK_ERROR_NAME(REQUEST_TOO_LARGE),
                                 RAVIK_ERROR_NAME(DATABASE),
                                 RAVIK_ERROR_NAME(INVALID_POINTER),
                                 RAVIK_ERROR_NAME(INVALID_PARAMETER),
                                 RAVIK_ERROR_NAME(INVALID_TYPE),
                                 RAVIK_ERROR_NAME(NOT_REGISTERED),
                                 RAVIK_ERROR_NAME(NOT_IMPLEMENTED),
                                 RAVIK_ERROR_NAME(ID_IN_USE),
                                 RAVIK_ERROR_NAME(SYMBOL_IN_USE),
                                 RAVIK_ERROR_NAME(INTERRUPTED),
                                 RAVIK_ERROR_NAME(FILE_LOCK),
                                 RAVIK_ERROR_NAME(FILE_IN_USE),
                                 RAVIK_ERROR_NAME(FILE_WRITE),
                                 RAVIK_ERROR_NAME(INVALID_PATH),
                                 RAVIK_ERROR_NAME(HANDLE),
                                 RAVIK_ERROR_NAME(ENCODE),
                                 RAVIK_ERROR_NAME(DECODE),
                                 RAVIK_ERROR_NAME(NETWORK),
                                 RAVIK_ERROR_NAME(LANGUAGE),
                                 RAVIK_ERROR_NAME(CACHE),
                                 RAVIK_ERROR_NAME(ENDPOINT_DENIED),
                                 RAVIK_ERROR_NAME(ENDPOINT_BUSY),
                                 RAVIK_ERROR_NAME(ENDPOINT_INVALID),
                                 RAVIK_ERROR_NAME(WEBSERVER_UNEXPECTED),
                                 RAVIK_ERROR_NAME(WEBSOCKET_UNEXPECTED),
                                 RAVIK_ERROR_NAME(LUA_EXEC),
                                 RAVIK_ERROR_NAME(ENTRY_NOT_FOUND),
                                 RAVIK_ERROR_NAME(INVALID_SYMBOL),
                                 RAVIK_ERROR_NAME(BLACKLISTED),
                                 RAVIK_ERROR_NAME(UPLOAD_TIMER_EXPIRED),
                                 RAVIK_ERROR_NAME(SERVER_ALREADY_RUNNING),
                                 RAVIK_ERROR_NAME(PROTOCOL),
                                 RAVIK_ERROR_NAME(PAGING),
                                 RAVIK_ERROR_NAME(INVALID_SUBSYMBOL),
                                 RAVIK_ERROR_NAME(SYMBOL_NOT_MAPPED),
                                 RAVIK_ERROR_NAME(SYMBOL_SCHEMA_MISSING),
                                 RAVIK_ERROR_NAME(INVALID_METHOD),
                                 RAVIK_ERROR_NAME(API),
                                 RAVIK_ERROR_NAME(INTERFACE_VERSION),
                                 RAVIK_ERROR_NAME(INTERFACE_POINTER),
                                 RAVIK_ERROR_NAME(CRT_NOT_FOUND),
                                 RAVIK_ERROR_NAME(CRT_INIT),
                                 RAVIK_ERROR_NAME(STORAGE),
                                 RAVIK_ERROR_NAME(STORAGE_WRITE),
                                 RAVIK_ERROR_NAME(STORAGE_VERSION),
                                 RAVIK_ERROR_NAME(STORAGE_CREATE),
                                 RAVIK_ERROR_NAME(STORAGE_STORE),
                                 RAVIK_ERROR_NAME(STORAGE_LOAD),
                                 RAVIK_ERROR_NAME(STORAGE_FILE_NOT_FOUND),
                                 RAVIK_ERROR_NAME(STORAGE_ADD_PARAMETER),
                                 RAVIK_ERROR_NAME(STORAGE_SCHEMA),
                                 RAVIK_ERROR_NAME(STORAGE_CONSTRAINT),
                                 RAVIK_ERROR_NAME(STORAGE_ADD),
                                 RAVIK_ERROR_NAME(STORAGE_EXTENSION),
                                 RAVIK_ERROR_NAME(STORAGE_PARAMETER),
                                 RAVIK_ERROR_NAME(STORAGE_TYPE),
                                 RAVIK_ERROR_NAME(CONNECT),
                                 RAVIK_ERROR_NAME(STORAGE_BACKUP),
                                 RAVIK_ERROR_NAME(SCHEMA),
                                 RAVIK_ERROR_NAME(TYPE_MISMATCH),
                                 RAVIK_ERROR_NAME(RANGE_MISMATCH),
                                 RAVIK_ERROR_NAME(INVALID_FIELD),
                                 RAVIK_ERROR_NAME(REQUIRED_FIELD),
                                 RAVIK_ERROR_NAME(UNEXPECTED_FIELD),
                                 RAVIK_ERROR_NAME(ENUM_VALUE_MISMATCH),
                                 RAVIK_ERROR_NAME(ARRAY_RANGE_MISMATCH),
                                 RAVIK_ERROR_NAME(STRING_LENGTH_MISMATCH),
                                 RAVIK_ERROR_NAME(MULTIPLE_MATCHES),
                                 RAVIK_ERROR_NAME(NO_MATCHES),
                                 RAVIK_ERROR_NAME(UNIQUE),
                                 RAVIK_ERROR_NAME(FORMAT),
                                 RAVIK_ERROR_NAME(TYPE_MISSING),
                                 RAVIK_ERROR_NAME(EXCLUDED),
                                 RAVIK_ERROR_NAME(MIGRATION),
                                 RAVIK_ERROR_NAME(MIGRATION_RULE),
                                 RAVIK_ERROR_NAME(MIGRATION_PATH),
                                 RAVIK_ERROR_NAME(RECURSION),
                                 RAVIK_ERROR_NAME(REGEX),
                                 RAVIK_ERROR_NAME(EXTENSION),
                                 RAVIK_ERROR_NAME(EXTENSION_LOAD),
                                 RAVIK_ERROR_NAME(INVALID_DOMAIN),
                                 RAVIK_ERROR_NAME(DOMAIN_ACTIVE),
                                 RAVIK_ERROR_NAME(LOG_EXTENSION),
                                 RAVIK_ERROR_NAME(AUTH_EXTENSION),
                                 RAVIK_ERROR_NAME(EXTENSION_CONFIG),
                                 RAVIK_ERROR_NAME(EXTENSION_HANDLER),
                                 RAVIK_ERROR_NAME(UNLOAD_FAILED),
                                 RAVIK_ERROR_NAME(AUTH_WAIT),
                                 RAVIK_ERROR_NAME(DOMAIN_DISABLED),
                                 RAVIK_ERROR_NAME(EXTENSION_CONNECT),
                                 RAVIK_ERROR_NAME(REMOTE_CONNECT),
                                 RAVIK_ERROR_NAME(REMOTE_TIMEOUT),
                                 RAVIK_ERROR_NAME(SESSION),
                                 RAVIK_ERROR_NAME(INVALID_SESSION),
                                 RAVIK_ERROR_NAME(AUTH_USER_NOT_FOUND),
                                 RAVIK_ERROR_NAME(AUTH_FAILED),
                                 RAVIK_ERROR_NAME(AUTH_GROUP_NOT_FOUND),
                                 RAVIK_ERROR_NAME(INSUFFICIENT_ACCESS),
                                 RAVIK_ERROR_NAME(CREATE_SESSION),
                                 RAVIK_ERROR_NAME(SESSION_NOT_FOUND),
                                 RAVIK_ERROR_NAME(CERTIFICATE),
                                 RAVIK_ERROR_NAME(NO_LOGIN_DATA),
                                 RAVIK_ERROR_NAME(ALREADY_LOGGED_IN),
                                 RAVIK_ERROR_NAME(SESSION_TIMEOUT),
                                 RAVIK_ERROR_NAME(TOO_MANY_CONNECTIONS),
                                 RAVIK_ERROR_NAME(DECRYPT),
                                 RAVIK_ERROR_NAME(AUTH_DISABLED),
                                 RAVIK_ERROR_NAME(CERTIFICATE_NOT_VALID),
                                 RAVIK_ERROR_NAME(CHECKSUM),
                                 RAVIK_ERROR_NAME(INVALID_CHECKSUM),
                                 RAVIK_ERROR_NAME(CHECKSUM_UNEXPECTED),
                                 RAVIK_ERROR_NAME(CHECKSUM_MATCH),
                                 RAVIK_ERROR_NAME(SIGNATURE),
                                 RAVIK_ERROR_NAME(SIGNATURE_MISSING),
                                 RAVIK_ERROR_NAME(SIGNATURE_MISMATCH),
                                 RAVIK_ERROR_NAME(KEY_MISSING),
                                 RAVIK_ERROR_NAME(RESTART_REQUIRED),
                                 RAVIK_ERROR_NAME(INITIALIZE_PASSWORD)};

#undef RAVIK_ERROR_NAME

bool stands_before(ErrorName const& left, ErrorValue right) noexcept
{
    return left.value < right;
}

} // namespace

String get_error_string(ErrorValue value)
{
    auto const* const found = std::lower_bound(error_names.begin(), error_names.end(), value, stands_before);
    return found == error_names.end() || found->value != value ? "ERROR" : found->name;
}

} // namespace RavikSrv
