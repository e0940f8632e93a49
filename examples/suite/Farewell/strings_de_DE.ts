<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en_US">
<context>
    <name>cFarewell</name>
    <message>
        <source>Goodbye!</source>
        <translation>Auf Wiedersehen!</translation>
    </message>
    <message>
        <source>Goodbye, %1!</source>
        <translation>Auf Wiedersehen, %1!</translation>
    </message>
</context>
</TS>
