<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en_US">
<context>
    <name>cNewPluginPlugin</name>
    <message>
        <source>Hello, %1</source>
        <translation>Guten Tag, %1</translation>
    </message>
</context>
</TS>
