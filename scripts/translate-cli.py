#!/usr/bin/env python3
"""Fills the Japanese translations of the command line's messages.

The messages are written in English in src/cli; lupdate collects them into
resources/translations/cli/mokuza-cli_ja.ts and this script puts the Japanese
text of each one in place (run it after lupdate, then commit the .ts):

  /usr/lib/qt6/bin/lupdate -no-obsolete -locations none src/cli \\
      -ts resources/translations/cli/mokuza-cli_ja.ts
  python3 scripts/translate-cli.py

A message that has no Japanese text here stays unfinished (English is shown)
and is listed on standard error.
"""
import sys
import xml.etree.ElementTree as ET

TS = "resources/translations/cli/mokuza-cli_ja.ts"

JA = {
    "%1 needs a value": "%1 には値が必要です",
    "no command given": "コマンドがありません",
    "unknown command: %1": "不明なコマンド: %1",
    "--dest needs a folder": "--dest にはフォルダを指定してください",
    "--on-conflict takes ask, overwrite or rename, not %1":
        "--on-conflict には ask、overwrite、rename のいずれかを指定してください（%1 は使えません）",
    "unknown option: %1": "不明なオプション: %1",
    "profiles takes no paths or options": "profiles にはパスもオプションも指定できません",
    "no files or folders given": "圧縮するファイルやフォルダがありません",
    "no archives given": "解凍する ZIP ファイルがありません",
    "Try 'mokuza --help' for more information.\n": "詳しくは 'mokuza --help' を見てください。\n",
    "Archive profiles (compress):": "圧縮プロファイル（compress）:",
    "Unarchive profiles (extract):": "解凍プロファイル（extract）:",
    "* the profile used when none is given (the file manager's)":
        "* はプロファイルを指定しないときに使うもの（ファイルマネージャー用）",
    "no such file or folder: %1": "ファイルまたはフォルダがありません: %1",
    "%1 is a folder, not an archive": "%1 はフォルダです。ZIP ファイルではありません",
    "--dest %1 is not a folder": "--dest %1 はフォルダではありません",
    "no archive profile %1; 'mokuza profiles' lists them":
        "圧縮プロファイル %1 はありません。'mokuza profiles' で一覧を見られます",
    "profile %1 asks for a password and there is no terminal to type it on; give it with --password-stdin":
        "プロファイル %1 はパスワードを入力させますが、入力できる端末がありません。--password-stdin で渡してください",
    "no unarchive profile %1; 'mokuza profiles' lists them":
        "解凍プロファイル %1 はありません。'mokuza profiles' で一覧を見られます",
    "the profile asks where to save and there is no terminal to answer on; give --dest DIR":
        "プロファイルは保存先を毎回たずねますが、答えられる端末がありません。--dest DIR を指定してください",
    "--password-stdin: standard input ended before a line":
        "--password-stdin: 標準入力に 1 行もありません",
    "mokuza: stopping after the item under way (Ctrl-C again to quit at once)\n":
        "mokuza: 処理中の項目が終わったところで中止します（もう一度 Ctrl-C ですぐに終了）\n",
    "the profile's settings are not ones this program knows":
        "プロファイルの設定値がこのプログラムの知らないものです",
    "mokuza: nothing was made\n": "mokuza: 何も作られませんでした\n",
    "compressing": "圧縮中",
    "extracting": "解凍中",
    "placing": "コピー中",
    "mokuza: %1\nmokuza: there is no terminal to answer on; give --dest DIR for where to save, --on-conflict overwrite or rename for names that are taken\n":
        "mokuza: %1\nmokuza: 答えられる端末がありません。保存先は --dest DIR、同じ名前があるときは --on-conflict overwrite または rename で指定してください\n",
    "Save as [%1]: ": "保存先 [%1]: ",
    "%1 is a folder.\n": "%1 はフォルダです。\n",
    "%1 exists. Replace it? [y/N]: ": "%1 は既にあります。置き換えますか? [y/N]: ",
    "Folder [%1]: ": "フォルダ [%1]: ",
    "Path [%1]: ": "パス [%1]: ",
    "%1 is not there or not of the kind asked for.\n": "%1 がないか、求める種類ではありません。\n",
    "mokuza: %1 needs a password and there is no terminal to type it on; give it with --password-stdin\n":
        "mokuza: %1 にはパスワードが必要ですが、入力できる端末がありません。--password-stdin で渡してください\n",
    "Password for %1: ": "%1 のパスワード: ",
    "Password again: ": "もう一度パスワード: ",
    "The two passwords differ; type them again.\n": "2 つのパスワードが違います。もう一度入力してください。\n",
    "mokuza: %1 is encrypted and there is no terminal to type its password on; give it with --password-stdin\n":
        "mokuza: %1 は暗号化されていますが、パスワードを入力できる端末がありません。--password-stdin で渡してください\n",
    "%1 items/s": "%1 件/秒",
    "%1 left": "残り %1",
    "destination: %1": "保存先: %1",
    "password: %1": "パスワード: %1",
    "not started": "未実行",
    "cancelled": "中止",
    "done with errors": "完了（エラーあり）",
    "done": "完了",
    "status: %1": "状態: %1",
    "errors (%1):": "エラー（%1 件）:",
}

HELP_JA = """使い方: mokuza profiles
        mokuza compress [オプション]... パス...
        mokuza extract [オプション]... ZIPファイル...

MOKUZA-FULL のプロファイルのとおりに（名前の文字コード、圧縮レベル、1 つの ZIP に
まとめるか項目ごとか、保存先、同じ名前があるとき、除外する名前、パスワード）、
ファイルやフォルダを ZIP に圧縮し、ZIP ファイルを解凍します。プロファイルは
アプリケーションと共通です。--profile を指定しないときはファイルマネージャー用の
プロファイルを使います。

コマンド:
  profiles              圧縮・解凍プロファイルを番号つきで一覧します
  compress パス...      ファイルやフォルダを ZIP に圧縮します
  extract ZIP...        ZIP ファイルを解凍します

オプション:
  --profile 名前|番号    使うプロファイル（名前か 'mokuza profiles' の番号）
  --dest フォルダ        プロファイルの保存先にかかわらず、ZIP（解凍したもの）を
                         このフォルダに置きます。なければ作ります
  --on-conflict ask|overwrite|rename
                         同じ名前があるとき: たずねる・上書き・名前を変える
                         （省略時はプロファイルのとおり）
  --password-stdin       標準入力の最初の 1 行をパスワードにします。compress は
                         すべての ZIP をこれで暗号化し、extract は暗号化された
                         ZIP すべてにこれを使います
  --show-password        結果のパスワードを ******** ではなくそのまま表示します
  --notify               ZIP ごとにデスクトップ通知を出します
  -h, --help             このヘルプを表示して終了します
      --version          バージョンを表示して終了します

プロファイルがたずねること（保存先、同じ名前、手入力のパスワード）は端末で
たずねます。端末がないときは断り、答えになるオプションを示します。進み具合は
標準エラーに出ます（端末ではバー、それ以外では行ごと）。ZIP ごとの結果は
標準出力に出ます。

Ctrl-C で中止します。処理中の項目を終えたところで止まり、それ以上は始めません。
中止した解凍は何も置きません。Ctrl-C を 2 回押すとすぐに終了します。

終了ステータス:
  0    すべて完了
  1    完了したがエラーがある（または中止したものがある）
  2    使い方の誤り、不明なプロファイル、答えられる端末のない問い
  130  中断（Ctrl-C）

設定は MOKUZA-FULL と共通です: ~/.config/MOKUZA/MOKUZA-FULL.conf
mokuza(1) も見てください。
"""


def main():
    tree = ET.parse(TS)
    missing = []
    for message in tree.getroot().iter("message"):
        source = message.find("source").text
        translation = message.find("translation")
        text = HELP_JA if source.startswith("Usage: mokuza profiles") else JA.get(source)
        if text is None:
            missing.append(source)
            continue
        translation.text = text
        translation.attrib.pop("type", None)
    tree.write(TS, encoding="utf-8", xml_declaration=True)
    with open(TS, "a", encoding="utf-8") as out:
        out.write("\n")
    for source in missing:
        print("no Japanese text for: " + repr(source), file=sys.stderr)
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
