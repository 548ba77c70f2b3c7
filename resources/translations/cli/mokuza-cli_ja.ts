<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ja_JP">
<context>
    <name>RKCommandLine</name>
    <message>
        <source>%1 needs a value</source>
        <translation>%1 には値が必要です</translation>
    </message>
    <message>
        <source>no command given</source>
        <translation>コマンドがありません</translation>
    </message>
    <message>
        <source>unknown command: %1</source>
        <translation>不明なコマンド: %1</translation>
    </message>
    <message>
        <source>--dest needs a folder</source>
        <translation>--dest にはフォルダを指定してください</translation>
    </message>
    <message>
        <source>--on-conflict takes ask, overwrite or rename, not %1</source>
        <translation>--on-conflict には ask、overwrite、rename のいずれかを指定してください（%1 は使えません）</translation>
    </message>
    <message>
        <source>unknown option: %1</source>
        <translation>不明なオプション: %1</translation>
    </message>
    <message>
        <source>profiles takes no paths or options</source>
        <translation>profiles にはパスもオプションも指定できません</translation>
    </message>
    <message>
        <source>no files or folders given</source>
        <translation>圧縮するファイルやフォルダがありません</translation>
    </message>
    <message>
        <source>no archives given</source>
        <translation>解凍する ZIP ファイルがありません</translation>
    </message>
    <message>
        <source>Try &apos;mokuza --help&apos; for more information.
</source>
        <translation>詳しくは &apos;mokuza --help&apos; を見てください。
</translation>
    </message>
    <message>
        <source>Archive profiles (compress):</source>
        <translation>圧縮プロファイル（compress）:</translation>
    </message>
    <message>
        <source>Unarchive profiles (extract):</source>
        <translation>解凍プロファイル（extract）:</translation>
    </message>
    <message>
        <source>* the profile used when none is given (the file manager&apos;s)</source>
        <translation>* はプロファイルを指定しないときに使うもの（ファイルマネージャー用）</translation>
    </message>
    <message>
        <source>no such file or folder: %1</source>
        <translation>ファイルまたはフォルダがありません: %1</translation>
    </message>
    <message>
        <source>%1 is a folder, not an archive</source>
        <translation>%1 はフォルダです。ZIP ファイルではありません</translation>
    </message>
    <message>
        <source>--dest %1 is not a folder</source>
        <translation>--dest %1 はフォルダではありません</translation>
    </message>
    <message>
        <source>no archive profile %1; &apos;mokuza profiles&apos; lists them</source>
        <translation>圧縮プロファイル %1 はありません。&apos;mokuza profiles&apos; で一覧を見られます</translation>
    </message>
    <message>
        <source>profile %1 asks for a password and there is no terminal to type it on; give it with --password-stdin</source>
        <translation>プロファイル %1 はパスワードを入力させますが、入力できる端末がありません。--password-stdin で渡してください</translation>
    </message>
    <message>
        <source>no unarchive profile %1; &apos;mokuza profiles&apos; lists them</source>
        <translation>解凍プロファイル %1 はありません。&apos;mokuza profiles&apos; で一覧を見られます</translation>
    </message>
    <message>
        <source>the profile asks where to save and there is no terminal to answer on; give --dest DIR</source>
        <translation>プロファイルは保存先を毎回たずねますが、答えられる端末がありません。--dest DIR を指定してください</translation>
    </message>
    <message>
        <source>--password-stdin: standard input ended before a line</source>
        <translation>--password-stdin: 標準入力に 1 行もありません</translation>
    </message>
    <message>
        <source>the profile&apos;s settings are not ones this program knows</source>
        <translation>プロファイルの設定値がこのプログラムの知らないものです</translation>
    </message>
    <message>
        <source>mokuza: nothing was made
</source>
        <translation>mokuza: 何も作られませんでした
</translation>
    </message>
    <message>
        <source>--password-stdin: the password is empty</source>
        <translation>--password-stdin: パスワードが空です</translation>
    </message>
    <message>
        <source>mokuza: cancelling; an archive being written is not kept (Ctrl-C again to quit at once)
</source>
        <translation>mokuza: 中止します。書いている途中の ZIP は残しません（もう一度 Ctrl-C ですぐに終了）
</translation>
    </message>
    <message>
        <source>--dest - is not a folder; &apos;mokuza compress -o -&apos; writes the archive to standard output</source>
        <translation>--dest - はフォルダではありません。書庫を標準出力に書くには &apos;mokuza compress -o -&apos; を使います</translation>
    </message>
    <message>
        <source>-o needs a file name, or - for standard output</source>
        <translation>-o にはファイル名か、標準出力を表す - が必要です</translation>
    </message>
    <message>
        <source>--level takes 0 to 9, not %1</source>
        <translation>--level は 0 から 9 です（%1 は使えません）</translation>
    </message>
    <message>
        <source>unknown encoding: %1 (names as in the profile window&apos;s list, or utf-8, cp932)</source>
        <translation>不明なエンコード: %1（プロファイルウインドウの一覧の名前、または utf-8、cp932）</translation>
    </message>
    <message>
        <source>%1 takes only --profile, --encoding, --password-stdin, --json and -q</source>
        <translation>%1 に使えるオプションは --profile、--encoding、--password-stdin、--json、-q だけです</translation>
    </message>
    <message>
        <source>standard input (-) can be given once</source>
        <translation>標準入力（-）は一度だけ指定できます</translation>
    </message>
    <message>
        <source>compress takes files and folders, not standard input (-)</source>
        <translation>compress に指定できるのはファイルとフォルダで、標準入力（-）は使えません</translation>
    </message>
    <message>
        <source>--password-stdin and an archive on standard input (-) cannot both be read</source>
        <translation>--password-stdin と標準入力（-）の書庫を同時には読めません</translation>
    </message>
    <message>
        <source>-o names the archive that compress makes</source>
        <translation>-o は compress が作る書庫の名前です</translation>
    </message>
    <message>
        <source>-o makes one archive; it takes no --dest or --one-per-item</source>
        <translation>-o は書庫を一つ作ります。--dest や --one-per-item とは一緒に使えません</translation>
    </message>
    <message>
        <source>-q and -v cannot both be given</source>
        <translation>-q と -v は同時に指定できません</translation>
    </message>
    <message>
        <source>mokuza: standard output: %1
</source>
        <translation>mokuza: 標準出力: %1
</translation>
    </message>
    <message>
        <source>standard input could not be kept in a temporary file</source>
        <translation>標準入力を一時ファイルに保存できませんでした</translation>
    </message>
    <message>
        <source>-o %1: the folder does not exist</source>
        <translation>-o %1: フォルダがありません</translation>
    </message>
    <message>
        <source>-o %1 is a folder</source>
        <translation>-o %1 はフォルダです</translation>
    </message>
    <message>
        <source>-o %1 exists; give --on-conflict overwrite or rename</source>
        <translation>-o %1 はすでにあります。--on-conflict overwrite か rename を指定してください</translation>
    </message>
    <message>
        <source>-o: no private folder could be made: %1</source>
        <translation>-o: 作業用フォルダを作れませんでした: %1</translation>
    </message>
    <message>
        <source>mokuza: %1: %2
</source>
        <translation>mokuza: %1: %2
</translation>
    </message>
    <message>
        <source>Usage: mokuza profiles
       mokuza compress [OPTION]... PATH...
       mokuza extract [OPTION]... ZIP...
       mokuza list [OPTION]... ZIP...
       mokuza test [OPTION]... ZIP...

Compresses files and folders into ZIP archives, or extracts ZIP archives, exactly
as a profile of MOKUZA-FULL says (name encoding, level, one archive or one per
item, where archives go, names that are taken, left-out names, password). The
profiles are the application&apos;s own; without --profile the file manager&apos;s profile
is used. The options below change one run, not the profile.

Commands:
  profiles              list the archive and unarchive profiles with their numbers
  compress PATH...      make archives of files and folders
  extract ZIP...        extract archives (- reads one from standard input)
  list ZIP...           list the entries: size, packed size, method, date and
                        time, whether encrypted, CRC and name
  test ZIP...           read every entry and check it; nothing is written

Options:
  --profile NAME|NUMBER  the profile, by name or by its number in &apos;mokuza profiles&apos;
  --dest DIR             put the archives (or the extracted items) in DIR, whatever
                         the profile&apos;s save location; DIR is made when missing
  -o, --output FILE      compress: make one archive named FILE; - writes it to
                         standard output (the results then go to standard error)
  --on-conflict ask|overwrite|rename
                         what to do when a name is taken (default: the profile&apos;s)
  --level N              compression level 0 (stored) to 9
  --encoding NAME        encoding of entry names: a name of the profile window&apos;s
                         list (such as NSShiftJISStringEncoding), utf-8 or cp932
  --exclude PATTERN      leave out files and folders of this name (* and ?, any
                         case); may be repeated
  --one-per-item, --single-archive
                         one archive per item given, or one for all of them
  --password-stdin       read the password from the first line of standard input:
                         compress encrypts every archive with it, extract and test
                         use it for every encrypted archive
  --show-password        show passwords in the results instead of ********
  --json                 results as JSON lines: one object per archive (archive,
                         destination, status, errors with codes), or per entry
                         for list
  -q, --quiet            print nothing but errors
  -v, --verbose          also print every item of each archive
  --notify               post a desktop notification for every archive
  -h, --help             show this help and exit
      --version          show the version and exit

Where the profile asks (a save location, a taken name, a typed password), mokuza
asks on the terminal; without a terminal it refuses and names the option that
answers. Progress goes to standard error, measured in bytes: a bar with the
rate and the time left on a terminal, plain lines elsewhere. The result of every
archive goes to standard output; errors go to standard error, each with its path
and the system&apos;s reason. Names with control characters are quoted as ls does.
Messages are Japanese under a ja_* locale, English otherwise.

An archive gets its name only once it is complete and read back whole; a file
of that name stays as it was until then. Paths that do not exist are listed
among the errors and the others are done.

Ctrl-C (or SIGTERM, SIGHUP) cancels at once: the archive being written is
discarded and nothing more is started; an extraction that is cancelled places
nothing more. A second one quits at once.

Exit status:
  0    every archive done
  1    done, with other errors (or something cancelled); or standard output
       could not be written
  2    bad usage, unknown profile, none of the paths exists, or a question
       with no terminal to answer it
  3    a password did not fit an encrypted archive (asked up to three times
       on a terminal)
  4    an archive is damaged: it does not open, or an entry fails its checks
  130  interrupted (Ctrl-C); 128+N for signal N (143 SIGTERM, 129 SIGHUP)

The settings are MOKUZA-FULL&apos;s: ~/.config/MOKUZA/MOKUZA-FULL.conf.
See mokuza(1).
</source>
        <translation>使い方: mokuza profiles
        mokuza compress [オプション]... パス...
        mokuza extract [オプション]... ZIPファイル...
        mokuza list [オプション]... ZIPファイル...
        mokuza test [オプション]... ZIPファイル...

MOKUZA-FULL のプロファイルのとおりに（名前の文字コード、圧縮レベル、1 つの ZIP に
まとめるか項目ごとか、保存先、同じ名前があるとき、除外する名前、パスワード）、
ファイルやフォルダを ZIP に圧縮し、ZIP ファイルを解凍します。プロファイルは
アプリケーションと共通です。--profile を指定しないときはファイルマネージャー用の
プロファイルを使います。下のオプションはその回だけを変え、プロファイルは変えません。

コマンド:
  profiles              圧縮・解凍プロファイルを番号つきで一覧します
  compress パス...      ファイルやフォルダを ZIP に圧縮します
  extract ZIP...        ZIP ファイルを解凍します（- は標準入力から読みます）
  list ZIP...           項目を一覧します: サイズ、圧縮後のサイズ、方式、日付と
                        時刻、暗号化の有無、CRC、名前
  test ZIP...           すべての項目を読んで検査します。何も書きません

オプション:
  --profile 名前|番号    使うプロファイル（名前か &apos;mokuza profiles&apos; の番号）
  --dest フォルダ        プロファイルの保存先にかかわらず、ZIP（解凍したもの）を
                         このフォルダに置きます。なければ作ります
  -o, --output ファイル  compress: ZIP を 1 つ、この名前で作ります。- なら標準
                         出力に書きます（結果は標準エラーに出ます）
  --on-conflict ask|overwrite|rename
                         同じ名前があるとき: たずねる・上書き・名前を変える
                         （省略時はプロファイルのとおり）
  --level N              圧縮レベル 0（無圧縮）から 9
  --encoding 名前        項目名の文字コード: プロファイルウインドウの一覧の名前
                         （NSShiftJISStringEncoding など）、utf-8、cp932
  --exclude パターン     この名前のファイルやフォルダを除きます（* と ?、大文字
                         小文字を区別しない）。何度でも指定できます
  --one-per-item, --single-archive
                         項目ごとに ZIP を作るか、全部を 1 つにまとめるか
  --password-stdin       標準入力の最初の 1 行をパスワードにします。compress は
                         すべての ZIP をこれで暗号化し、extract と test は
                         暗号化された ZIP すべてにこれを使います
  --show-password        結果のパスワードを ******** ではなくそのまま表示します
  --json                 結果を JSON の行で出します: ZIP ごとに 1 つ（書庫、保存先、
                         状態、コードつきのエラー）、list では項目ごとに 1 つ
  -q, --quiet            エラーのほかは何も出しません
  -v, --verbose          ZIP ごとにすべての項目も出します
  --notify               ZIP ごとにデスクトップ通知を出します
  -h, --help             このヘルプを表示して終了します
      --version          バージョンを表示して終了します

プロファイルがたずねること（保存先、同じ名前、手入力のパスワード）は端末で
たずねます。端末がないときは断り、答えになるオプションを示します。進み具合は
バイト数で測って標準エラーに出ます（端末では速さと残り時間つきのバー、それ以外
では行ごと）。ZIP ごとの結果は標準出力に、エラーはパスとシステムの理由をつけて
標準エラーに出ます。制御文字を含む名前は ls と同じように引用します。メッセージは
ja_* のロケールでは日本語、それ以外では英語です。

ZIP はできあがって読み返しの検査を通ってから名前がつきます。それまでは同じ名前の
ファイルはそのままです。存在しないパスはエラーに挙げ、ほかのものは処理します。

Ctrl-C（または SIGTERM、SIGHUP）ですぐに中止します。書いている途中の ZIP は
捨て、それ以上は始めません。中止した解凍はそれ以上何も置きません。もう一度
送るとすぐに終了します。

終了ステータス:
  0    すべて完了
  1    完了したがほかのエラーがある（または中止したものがある）、または標準出力に
       書けなかった
  2    使い方の誤り、不明なプロファイル、どのパスも存在しない、答えられる端末の
       ない問い
  3    暗号化された ZIP のパスワードが正しくない（端末では 3 回までたずねます）
  4    ZIP が壊れている: 開けない、または項目が検査に通らない
  130  中断（Ctrl-C）。シグナル N では 128+N（SIGTERM 143、SIGHUP 129）

設定は MOKUZA-FULL と共通です: ~/.config/MOKUZA/MOKUZA-FULL.conf
mokuza(1) も見てください。
</translation>
    </message>
</context>
<context>
    <name>RKTerminalArchiveCheck</name>
    <message>
        <source>mokuza: %1: cannot be read as a ZIP archive
</source>
        <translation>mokuza: %1: ZIP 書庫として読めません
</translation>
    </message>
    <message>
        <source>      Size     Packed Method    Date       Time     Enc CRC       Name</source>
        <translation>    サイズ   圧縮後 方式      日付       時刻     暗号 CRC       名前</translation>
    </message>
    <message>
        <source>Password for %1: </source>
        <translation>%1 のパスワード: </translation>
    </message>
    <message>
        <source>mokuza: %1 is encrypted and there is no password to test it with; give it with --password-stdin
</source>
        <translation>mokuza: %1 は暗号化されていて、検査に使うパスワードがありません。--password-stdin で指定してください
</translation>
    </message>
    <message>
        <source>wrong password</source>
        <translation>パスワードが違います</translation>
    </message>
    <message>
        <source>method or encryption not supported</source>
        <translation>対応していない圧縮方式または暗号化です</translation>
    </message>
    <message>
        <source>CRC mismatch</source>
        <translation>CRC が一致しません</translation>
    </message>
    <message>
        <source>damaged</source>
        <translation>壊れています</translation>
    </message>
    <message numerus="yes">
        <source>%1: OK (%n entries)</source>
        <translation>
            <numerusform>%1: OK（%n 項目）</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1: %n entries failed</source>
        <translation>
            <numerusform>%1: %n 項目が失敗しました</numerusform>
        </translation>
    </message>
    <message>
        <source>items of %1:</source>
        <translation>%1 の項目:</translation>
    </message>
</context>
<context>
    <name>RKTerminalArchiveRunner</name>
    <message>
        <source>compressing</source>
        <translation>圧縮中</translation>
    </message>
</context>
<context>
    <name>RKTerminalPanelService</name>
    <message>
        <source>mokuza: %1
mokuza: there is no terminal to answer on; give --dest DIR for where to save, --on-conflict overwrite or rename for names that are taken
</source>
        <translation>mokuza: %1
mokuza: 答えられる端末がありません。保存先は --dest DIR、同じ名前があるときは --on-conflict overwrite または rename で指定してください
</translation>
    </message>
    <message>
        <source>Save as [%1]: </source>
        <translation>保存先 [%1]: </translation>
    </message>
    <message>
        <source>%1 is a folder.
</source>
        <translation>%1 はフォルダです。
</translation>
    </message>
    <message>
        <source>%1 exists. Replace it? [y/N]: </source>
        <translation>%1 は既にあります。置き換えますか? [y/N]: </translation>
    </message>
    <message>
        <source>Folder [%1]: </source>
        <translation>フォルダ [%1]: </translation>
    </message>
    <message>
        <source>Path [%1]: </source>
        <translation>パス [%1]: </translation>
    </message>
    <message>
        <source>%1 is not there or not of the kind asked for.
</source>
        <translation>%1 がないか、求める種類ではありません。
</translation>
    </message>
</context>
<context>
    <name>RKTerminalPasswordPrompt</name>
    <message>
        <source>mokuza: %1 needs a password and there is no terminal to type it on; give it with --password-stdin
</source>
        <translation>mokuza: %1 にはパスワードが必要ですが、入力できる端末がありません。--password-stdin で渡してください
</translation>
    </message>
    <message>
        <source>Password for %1: </source>
        <translation>%1 のパスワード: </translation>
    </message>
    <message>
        <source>Password again: </source>
        <translation>もう一度パスワード: </translation>
    </message>
    <message>
        <source>The two passwords differ; type them again.
</source>
        <translation>2 つのパスワードが違います。もう一度入力してください。
</translation>
    </message>
    <message>
        <source>mokuza: %1 is encrypted and there is no terminal to type its password on; give it with --password-stdin
</source>
        <translation>mokuza: %1 は暗号化されていますが、パスワードを入力できる端末がありません。--password-stdin で渡してください
</translation>
    </message>
    <message>
        <source>The password must not be empty; type one (Ctrl-C stops).
</source>
        <translation>パスワードが空です。入力してください（Ctrl-C で中止）。
</translation>
    </message>
    <message>
        <source>Wrong password. Password for %1 again: </source>
        <translation>パスワードが正しくありません。%1 のパスワードをもう一度: </translation>
    </message>
</context>
<context>
    <name>RKTerminalProgress</name>
    <message>
        <source>%1 items/s</source>
        <translation>%1 件/秒</translation>
    </message>
    <message>
        <source>%1 left</source>
        <translation>残り %1</translation>
    </message>
</context>
<context>
    <name>RKTerminalResultDisplay</name>
    <message>
        <source>destination: %1</source>
        <translation>保存先: %1</translation>
    </message>
    <message>
        <source>password: %1</source>
        <translation>パスワード: %1</translation>
    </message>
    <message>
        <source>not started</source>
        <translation>未実行</translation>
    </message>
    <message>
        <source>cancelled</source>
        <translation>中止</translation>
    </message>
    <message>
        <source>done with errors</source>
        <translation>完了（エラーあり）</translation>
    </message>
    <message>
        <source>done</source>
        <translation>完了</translation>
    </message>
    <message>
        <source>status: %1</source>
        <translation>状態: %1</translation>
    </message>
    <message>
        <source>password: none (it was empty), not encrypted</source>
        <translation>パスワード: なし（空だったため、暗号化されていません）</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation>%1（%2）</translation>
    </message>
    <message>
        <source>Operation not permitted</source>
        <translation>許可されていない操作です</translation>
    </message>
    <message>
        <source>No such file or directory</source>
        <translation>そのようなファイルやディレクトリはありません</translation>
    </message>
    <message>
        <source>Input/output error</source>
        <translation>入力/出力エラーです</translation>
    </message>
    <message>
        <source>No such device or address</source>
        <translation>そのようなデバイスやアドレスはありません</translation>
    </message>
    <message>
        <source>Cannot allocate memory</source>
        <translation>メモリを確保できません</translation>
    </message>
    <message>
        <source>Permission denied</source>
        <translation>許可がありません</translation>
    </message>
    <message>
        <source>Device or resource busy</source>
        <translation>デバイスもしくはリソースがビジー状態です</translation>
    </message>
    <message>
        <source>File exists</source>
        <translation>ファイルが存在します</translation>
    </message>
    <message>
        <source>Invalid cross-device link</source>
        <translation>無効なデバイス間リンクです</translation>
    </message>
    <message>
        <source>No such device</source>
        <translation>そのようなデバイスはありません</translation>
    </message>
    <message>
        <source>Not a directory</source>
        <translation>ディレクトリではありません</translation>
    </message>
    <message>
        <source>Is a directory</source>
        <translation>ディレクトリです</translation>
    </message>
    <message>
        <source>Invalid argument</source>
        <translation>無効な引数です</translation>
    </message>
    <message>
        <source>Too many open files in system</source>
        <translation>システム全体で開いているファイルが多すぎます</translation>
    </message>
    <message>
        <source>Too many open files</source>
        <translation>開いているファイルが多すぎます</translation>
    </message>
    <message>
        <source>Text file busy</source>
        <translation>テキストファイルが使用中です</translation>
    </message>
    <message>
        <source>File too large</source>
        <translation>ファイルが大きすぎます</translation>
    </message>
    <message>
        <source>No space left on device</source>
        <translation>デバイスに空き領域がありません</translation>
    </message>
    <message>
        <source>Read-only file system</source>
        <translation>読み込み専用ファイルシステムです</translation>
    </message>
    <message>
        <source>Too many links</source>
        <translation>リンクが多すぎます</translation>
    </message>
    <message>
        <source>File name too long</source>
        <translation>ファイル名が長すぎます</translation>
    </message>
    <message>
        <source>Directory not empty</source>
        <translation>ディレクトリが空ではありません</translation>
    </message>
    <message>
        <source>Too many levels of symbolic links</source>
        <translation>シンボリックリンクの階層が多すぎます</translation>
    </message>
    <message>
        <source>Operation not supported</source>
        <translation>サポートされていない操作です</translation>
    </message>
    <message>
        <source>Stale file handle</source>
        <translation>古いファイルハンドルです</translation>
    </message>
    <message>
        <source>Disk quota exceeded</source>
        <translation>ディスク使用量制限を超過しました</translation>
    </message>
    <message>
        <source>system error %1</source>
        <translation>システムエラー %1</translation>
    </message>
    <message>
        <source>errors: %1</source>
        <translation>エラー: %1</translation>
    </message>
</context>
<context>
    <name>RKTerminalSettingNotice</name>
    <message>
        <source>mokuza: the settings file could not be read; it was kept as %1 and the factory settings are used
</source>
        <translation>mokuza: 設定ファイルを読み込めなかったため、初期設定を使います。元のファイルは次の名前で残しました: %1
</translation>
    </message>
    <message>
        <source>mokuza: the stored settings could not be read; they were kept under %1 in %2 and the factory settings are used
</source>
        <translation>mokuza: 保存されていた設定を読み込めなかったため、初期設定を使います。元の設定は %2 のキー %1 に残しました
</translation>
    </message>
</context>
<context>
    <name>RKTerminalUnArchiveRunner</name>
    <message>
        <source>extracting</source>
        <translation>解凍中</translation>
    </message>
    <message>
        <source>placing</source>
        <translation>コピー中</translation>
    </message>
</context>
</TS>
