<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ja_JP">
<context>
    <name>KSPasswordField</name>
    <message>
        <source>weak</source>
        <translation>弱い</translation>
    </message>
    <message>
        <source>fair</source>
        <translation>普通</translation>
    </message>
    <message>
        <source>strong</source>
        <translation>強い</translation>
    </message>
</context>
<context>
    <name>ShortcutRecorder</name>
    <message>
        <source>Click to record shortcut</source>
        <translation>クリックしてショートカットを記録</translation>
    </message>
    <message>
        <source>Type shortcut</source>
        <translation>ショートカットを入力</translation>
    </message>
    <message>
        <source>Use old shortcut</source>
        <translation>元のショートカットに戻す</translation>
    </message>
    <message>
        <source>Space</source>
        <translation>スペース</translation>
    </message>
    <message>
        <source>Pad %@</source>
        <translation>テンキー %@</translation>
    </message>
    <message>
        <source>Command + </source>
        <translation>Super + </translation>
    </message>
    <message>
        <source>Option + </source>
        <translation>Alt + </translation>
    </message>
    <message>
        <source>Control + </source>
        <translation>Ctrl + </translation>
    </message>
    <message>
        <source>Shift + </source>
        <translation>Shift + </translation>
    </message>
    <message>
        <source>The key combination %@ can't be used!</source>
        <translation>キーの組み合わせ %@ は使用できません！</translation>
    </message>
    <message>
        <source>The key combination "%@" can't be used because %@.</source>
        <translation>キーの組み合わせ「%@」は使用できません（理由: %@）。</translation>
    </message>
    <message>
        <source>The key combination "%@" can't be used because it's already used by a system-wide keyboard shortcut. (If you really want to use this key combination, most shortcuts can be changed in the Keyboard &amp; Mouse panel in System Preferences.)</source>
        <translation>キーの組み合わせ「%@」は、システム全体のキーボードショートカットで既に使われているため使用できません。（どうしてもこのキーの組み合わせを使いたい場合は、ほとんどのショートカットをデスクトップの設定の「キーボード」で変更できます。）</translation>
    </message>
    <message>
        <source>The key combination "%@" can't be used because it's already used by the menu item "%@".</source>
        <translation>キーの組み合わせ「%@」は、メニュー項目「%@」で既に使われているため使用できません。</translation>
    </message>
</context>
<context>
    <name>QAbstractFileIconProvider</name>
    <message>
        <source>Drive</source>
        <translation>ドライブ</translation>
    </message>
    <message>
        <source>Folder</source>
        <comment>All other platforms</comment>
        <translation>フォルダ</translation>
    </message>
</context>
</TS>
