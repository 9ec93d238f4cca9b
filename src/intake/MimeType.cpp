#include "MimeType.h"

#include <array>

using Intake::Group;

namespace {

struct Row {
    Group group;
    const char* type;
    std::initializer_list<const char*> extensions;
};

QHash<QString, MimeType> buildTable() {
    const std::initializer_list<Row> rows = {
        {Group::text, "html", {"html", "htm", "shtml"}},
        {Group::text, "css", {"css"}},
        {Group::text, "xml", {"xml"}},
        {Group::text, "mathml", {"mml"}},
        {Group::text, "plain", {"txt"}},
        {Group::text, "vnd.sun.j2me.app-descriptor", {"jad"}},
        {Group::text, "vnd.wap.wml", {"wml"}},
        {Group::text, "x-component", {"htc"}},
        {Group::image, "gif", {"gif"}},
        {Group::image, "jpeg", {"jpeg", "jpg"}},
        {Group::image, "png", {"png"}},
        {Group::image, "tiff", {"tif", "tiff"}},
        {Group::image, "vnd.wap.wbmp", {"wbmp"}},
        {Group::image, "x-icon", {"ico"}},
        {Group::image, "x-jng", {"jng"}},
        {Group::image, "x-ms-bmp", {"bmp"}},
        {Group::image, "svg+xml", {"svg", "svgz"}},
        {Group::image, "webp", {"webp"}},
        {Group::application, "javascript", {"js"}},
        {Group::application, "atom+xml", {"atom"}},
        {Group::application, "rss+xml", {"rss"}},
        {Group::application, "font-woff", {"woff"}},
        {Group::application, "java-archive", {"jar", "war", "ear"}},
        {Group::application, "json", {"json"}},
        {Group::application, "mac-binhex40", {"hqx"}},
        {Group::application, "msword", {"doc"}},
        {Group::application, "pdf", {"pdf"}},
        {Group::application, "postscript", {"ps", "eps", "ai"}},
        {Group::application, "rtf", {"rtf"}},
        {Group::application, "vnd.apple.mpegurl", {"m3u8"}},
        {Group::application, "vnd.ms-excel", {"xls"}},
        {Group::application, "vnd.ms-fontobject", {"eot"}},
        {Group::application, "vnd.ms-powerpoint", {"ppt"}},
        {Group::application, "vnd.wap.wmlc", {"wmlc"}},
        {Group::application, "vnd.google-earth.kml+xml", {"kml"}},
        {Group::application, "vnd.google-earth.kmz", {"kmz"}},
        {Group::application, "x-7z-compressed", {"7z"}},
        {Group::application, "x-cocoa", {"cco"}},
        {Group::application, "x-java-archive-diff", {"jardiff"}},
        {Group::application, "x-java-jnlp-file", {"jnlp"}},
        {Group::application, "x-makeself", {"run"}},
        {Group::application, "x-perl", {"pl", "pm"}},
        {Group::application, "x-pilot", {"prc", "pdb"}},
        {Group::application, "x-rar-compressed", {"rar"}},
        {Group::application, "x-redhat-package-manager", {"rpm"}},
        {Group::application, "x-sea", {"sea"}},
        {Group::application, "x-shockwave-flash", {"swf"}},
        {Group::application, "x-stuffit", {"sit"}},
        {Group::application, "x-tcl", {"tcl", "tk"}},
        {Group::application, "x-x509-ca-cert", {"der", "pem", "crt"}},
        {Group::application, "x-xpinstall", {"xpi"}},
        {Group::application, "xhtml+xml", {"xhtml"}},
        {Group::application, "xspf+xml", {"xspf"}},
        {Group::application, "zip", {"zip"}},
        {Group::application,
         "octet-stream",
         {"bin", "exe", "dll", "deb", "dmg", "iso", "img", "msi", "msp", "msm"}},
        {Group::application,
         "vnd.openxmlformats-officedocument.wordprocessingml.document",
         {"docx"}},
        {Group::application, "vnd.openxmlformats-officedocument.spreadsheetml.sheet", {"xlsx"}},
        {Group::application,
         "vnd.openxmlformats-officedocument.presentationml.presentation",
         {"pptx"}},
        {Group::audio, "midi", {"mid", "midi", "kar"}},
        {Group::audio, "mpeg", {"mp3"}},
        {Group::audio, "ogg", {"ogg"}},
        {Group::audio, "x-m4a", {"m4a"}},
        {Group::audio, "x-realaudio", {"ra"}},
        {Group::video, "3gpp", {"3gpp", "3gp"}},
        {Group::video, "mp2t", {"ts"}},
        {Group::video, "mp4", {"mp4"}},
        {Group::video, "mpeg", {"mpeg", "mpg"}},
        {Group::video, "quicktime", {"mov"}},
        {Group::video, "webm", {"webm"}},
        {Group::video, "x-flv", {"flv"}},
        {Group::video, "x-m4v", {"m4v"}},
        {Group::video, "x-mng", {"mng"}},
        {Group::video, "x-ms-asf", {"asx", "asf"}},
        {Group::video, "x-ms-wmv", {"wmv"}},
        {Group::video, "x-msvideo", {"avi"}},
    };
    QHash<QString, MimeType> table;
    for (const Row& row : rows) {
        for (const char* extension : row.extensions) {
            table.insert(QString::fromLatin1(extension),
                         MimeType(row.group, QString::fromLatin1(row.type)));
        }
    }
    return table;
}

constexpr std::array<std::pair<Group, const char*>, 5> groupNames{{
    {Group::text, "text"},
    {Group::image, "image"},
    {Group::application, "application"},
    {Group::audio, "audio"},
    {Group::video, "video"},
}};

}  // namespace

QString Intake::rawValue(Group group) {
    for (const auto& [candidate, name] : groupNames) {
        if (candidate == group) {
            return QString::fromLatin1(name);
        }
    }
    return {};
}

std::optional<Group> Intake::groupFromRawValue(const QString& value) {
    for (const auto& [group, name] : groupNames) {
        if (value == QLatin1String(name)) {
            return group;
        }
    }
    return std::nullopt;
}

MimeType MimeType::fromExtension(const QString& extension) {
    return mimeTypesByExtension().value(extension.toLower(), defaultMimeType());
}

MimeType MimeType::fromPath(const QString& path) {
    const QString lastComponent = path.section(QLatin1Char('/'), -1);
    const qsizetype point = lastComponent.lastIndexOf(QLatin1Char('.'));
    return fromExtension(point < 0 ? QString() : lastComponent.mid(point + 1));
}

MimeType MimeType::fromPath(const std::string& path) {
    return fromPath(QString::fromStdString(path));
}

MimeType MimeType::fromUrl(const QUrl& url) {
    return fromPath(url.path());
}

QString MimeType::text() const {
    return rawValue(m_group) + QLatin1Char('/') + m_type;
}

const QHash<QString, MimeType>& mimeTypesByExtension() {
    static const QHash<QString, MimeType> table = buildTable();
    return table;
}

const MimeType& defaultMimeType() {
    static const MimeType value(Group::application, QStringLiteral("octet-stream"));
    return value;
}

const MimeType& folderMimeType() {
    static const MimeType value = defaultMimeType();
    return value;
}
