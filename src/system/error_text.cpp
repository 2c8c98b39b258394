#include "system/error_text.h"

#include <cerrno>

#include "system/file_error.h"

namespace kelvane {

std::string ErrorText::posix(int errnum) {
    switch (errnum) {
        case EPERM:
            return "この操作は許可されていません";
        case EACCES:
            return "アクセス権がありません";
        case ENOENT:
            return "項目が見つかりません";
        case ENOTDIR:
            return "フォルダではありません";
        case EISDIR:
            return "フォルダです";
        case ENOTEMPTY:
        case EEXIST:
            return "同じ名前の項目がすでにあります";
        case EBUSY:
            return "使用中です";
        case ETXTBSY:
            return "実行中のプログラムが使用しています";
        case EROFS:
            return "読み出し専用のボリュームにあります";
        case EXDEV:
            return "別のボリュームにあるため移動できません";
        case ENOSPC:
            return "ディスクの空き容量が足りません";
        case EDQUOT:
            return "ディスク使用量の上限に達しています";
        case EIO:
            return "ディスクの読み書きでエラーが起きました";
        case ELOOP:
            return "シンボリックリンクの参照が多すぎます";
        case ENAMETOOLONG:
            return "名前またはパスが長すぎます";
        case EMFILE:
        case ENFILE:
            return "同時に開けるファイルの数が上限に達しています";
        case ENOMEM:
            return "メモリが足りません";
        case EINVAL:
            return "この項目には実行できない操作です";
        case EAGAIN:
            return "一時的に実行できません。もう一度お試しください";
        case E2BIG:
            return "引数が長すぎます";
        case ENOEXEC:
            return "実行できる形式のプログラムではありません";
        case EOVERFLOW:
            return "値が大きすぎて扱えません";
        case ESTALE:
            return "ネットワーク上の項目が無効になりました";
        case EOPNOTSUPP:
            return "このボリュームでは対応していない操作です";
        case ENOSYS:
            return "このシステムでは対応していない操作です";
        case EINTR:
            return "操作が中断されました";
        case EMLINK:
            return "リンクの数が上限に達しています";
        case EFBIG:
            return "ファイルが大きすぎます";
        case EBADF:
        case EFAULT:
        case ECHILD:
            return "内部エラーが発生しました";
        default:
            return "予期しないエラーが発生しました (エラー番号 " + std::to_string(errnum) + ")";
    }
}

std::string ErrorText::refusal(int code) {
    switch (code) {
        case FileError::mountPoint:
            return "別のボリュームがマウントされている場所のため、削除しません";
        case FileError::mountInside:
            return "中に別のボリュームがマウントされているため、その部分は削除しません";
        case FileError::mountInsideNotMoved:
            return "中に別のボリュームがマウントされているため、ゴミ箱に入れません。"
                   "「完全に削除」なら、その部分を残して削除できます";
        case FileError::untrustedLink:
            return "途中のフォルダが他のユーザーのシンボリックリンクのため、削除しません";
        case FileError::trashOwnFolder:
            return "ゴミ箱そのもののフォルダはゴミ箱に入れられません";
        case FileError::noUsableTrash:
            return "このボリュームには使えるゴミ箱がありません。「完全に削除」なら削除できます";
        case FileError::immutable:
            return "変更不可の属性が付いているため、管理者権限でも削除できません";
        case FileError::notReported:
            return "管理者権限での削除が完了しませんでした";
        case FileError::protectedRoot:
            return "ルート、ホームフォルダとその上のフォルダ、システムのフォルダは削除しません。"
                   "中の項目は個別に削除できます";
        case FileError::stopped:
            return "削除を停止したため、途中まで削除しました";
        case FileError::notStarted:
            return "削除を停止したため、削除していません";
        case FileError::notASnapshot:
            return "読み出し専用の Btrfs スナップショットではないため、削除しません";
        case FileError::changedMeanwhile:
            return "削除中にフォルダが入れ替えられたため、中断しました";
        default:
            return "削除しませんでした";
    }
}

}  // namespace kelvane
