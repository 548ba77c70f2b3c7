#include "zip/RQError.h"

#include "platform/RKAppInfo.h"
#include "platform/RKSystemError.h"

namespace {

QString archiverMessage(int code)
{
    switch (code) {
    case 1:
        return QStringLiteral("指定されたファイルが見つかりません。");
    case 2:
        return QStringLiteral("書庫へのファイル追加に失敗しました。");
    case 4:
        return QStringLiteral("ファイル名を書庫の文字コードで表せないため、「-」という名前で格納しました。");
    case 5:
        return QStringLiteral("書庫の検証に失敗しました。書庫が破損している可能性があります。");
    case 6:
        return QStringLiteral("ファイル名に書庫の文字コードで表せない文字があるため、"
                              "その文字を「_」に置き換えて格納しました。");
    case 7:
        return QStringLiteral("書庫に同じ名前の項目があるため、名前に番号を付けて格納しました。");
    case 8:
        return QStringLiteral("項目を読み込めませんでした。");
    case 9:
        return QStringLiteral("通常のファイルでもフォルダでもない項目（パイプ、ソケット、デバイス）は格納できません。");
    case 10:
        return QStringLiteral("リンク先が見つかりません。");
    case 11:
        return QStringLiteral("書庫を書き込めませんでした。");
    case 12:
        return QStringLiteral("格納できた項目がないため、書庫は作成されませんでした。");
    case 200:
        return QStringLiteral("書庫のサイズが4Gを超過しています。書庫が破損している可能性があります。");
    case 999:
        return QStringLiteral("不明なエラー");
    default:
        return QString();
    }
}

QString unArchiverMessage(int code)
{
    switch (code) {
    case 1:
        return QStringLiteral("指定されたファイルが見つかりません。");
    case 2:
        return QStringLiteral("圧縮ファイルのオープンに失敗しました。ファイルが壊れているか、"
                              "パスワードやエンコードを確認してください。");
    case 3:
        return QStringLiteral("書庫からのファイル取り出しに失敗しました。");
    case 4:
        return QStringLiteral("書庫に記録された項目数と実際の項目数が一致しません。"
                              "書庫が破損している可能性があります。");
    case 5:
        return QStringLiteral("書庫に同じ名前の項目があるため、名前に番号を付けて取り出しました。");
    case 6:
        return QStringLiteral("リンク先が展開先のフォルダの外にあるため、リンクを作成しませんでした。");
    case 7:
        return QStringLiteral("パスワードが正しくありません。");
    case 999:
        return QStringLiteral("不明なエラー");
    default:
        return QString();
    }
}

QString fileCopyMessage(int code)
{
    switch (code) {
    case 1:
        return QStringLiteral("出力先フォルダの作成に失敗しました。");
    case 2:
        return QStringLiteral("解凍ファイルの移動に失敗しました。");
    default:
        return QString();
    }
}

} // namespace

RQError::RQError(Family family, int code, const QString& filePath, int systemError)
    : m_family(family)
    , m_code(code)
    , m_filePath(filePath.isNull() ? QStringLiteral("") : filePath)
    , m_systemError(systemError)
{
    switch (family) {
    case Family::Archiver:
        m_description = archiverMessage(code);
        break;
    case Family::UnArchiver:
        m_description = unArchiverMessage(code);
        break;
    case Family::FileCopy:
        m_description = fileCopyMessage(code);
        break;
    }
}

RQError RQError::initWithErrorCode(int code, const QString& filePath, int systemError)
{
    return RQError(Family::Archiver, code, filePath, systemError);
}

RQError RQError::initWithUnArchiverErrorCode(int code, const QString& filePath, int systemError)
{
    return RQError(Family::UnArchiver, code, filePath, systemError);
}

RQError RQError::initWithFileCopyUtilErrorCode(int code, const QString& filePath, int systemError)
{
    return RQError(Family::FileCopy, code, filePath, systemError);
}

RQError RQError::asDamage() const
{
    RQError marked = *this;
    marked.m_damage = true;
    return marked;
}

QString RQError::domain() const
{
    return RKAppInfo::bundleIdentifier();
}

QString RQError::localizedDescription() const
{
    if (hasDescription()) {
        return m_description;
    }
    // The wording the desktop uses for an error it knows nothing more about.
    return QStringLiteral("操作を完了できませんでした。(%1 エラー %2)").arg(domain()).arg(m_code);
}

bool RQError::isReportOnly() const
{
    switch (m_family) {
    case Family::Archiver:
        return m_code == 4 || m_code == 6 || m_code == 7;
    case Family::UnArchiver:
        return m_code == 5 || m_code == 6;
    case Family::FileCopy:
        break;
    }
    return false;
}

QString RQError::localizedFailureReason() const
{
    return RKSystemError::text(m_systemError);
}

bool RQError::operator==(const RQError& other) const
{
    return m_family == other.m_family && m_code == other.m_code && m_filePath == other.m_filePath
        && m_systemError == other.m_systemError;
}
