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
</TS>
