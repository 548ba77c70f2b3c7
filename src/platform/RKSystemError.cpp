#include "platform/RKSystemError.h"

#include <cerrno>

QString RKSystemError::text(int errnum)
{
    switch (errnum) {
    case 0:
        return QString();
    case EPERM:
        return QStringLiteral("許可されていない操作です");
    case ENOENT:
        return QStringLiteral("そのようなファイルやディレクトリはありません");
    case EIO:
        return QStringLiteral("入力/出力エラーです");
    case ENXIO:
        return QStringLiteral("そのようなデバイスやアドレスはありません");
    case ENOMEM:
        return QStringLiteral("メモリを確保できません");
    case EACCES:
        return QStringLiteral("許可がありません");
    case EBUSY:
        return QStringLiteral("デバイスもしくはリソースがビジー状態です");
    case EEXIST:
        return QStringLiteral("ファイルが存在します");
    case EXDEV:
        return QStringLiteral("無効なデバイス間リンクです");
    case ENODEV:
        return QStringLiteral("そのようなデバイスはありません");
    case ENOTDIR:
        return QStringLiteral("ディレクトリではありません");
    case EISDIR:
        return QStringLiteral("ディレクトリです");
    case EINVAL:
        return QStringLiteral("無効な引数です");
    case ENFILE:
        return QStringLiteral("システム全体で開いているファイルが多すぎます");
    case EMFILE:
        return QStringLiteral("開いているファイルが多すぎます");
    case ETXTBSY:
        return QStringLiteral("テキストファイルが使用中です");
    case EFBIG:
        return QStringLiteral("ファイルが大きすぎます");
    case ENOSPC:
        return QStringLiteral("デバイスに空き領域がありません");
    case EROFS:
        return QStringLiteral("読み込み専用ファイルシステムです");
    case EMLINK:
        return QStringLiteral("リンクが多すぎます");
    case ENAMETOOLONG:
        return QStringLiteral("ファイル名が長すぎます");
    case ENOTEMPTY:
        return QStringLiteral("ディレクトリが空ではありません");
    case ELOOP:
        return QStringLiteral("シンボリックリンクの階層が多すぎます");
    case EOPNOTSUPP:
        return QStringLiteral("サポートされていない操作です");
    case ESTALE:
        return QStringLiteral("古いファイルハンドルです");
    case EDQUOT:
        return QStringLiteral("ディスク使用量制限を超過しました");
    default:
        return QStringLiteral("システムエラー %1").arg(errnum);
    }
}
