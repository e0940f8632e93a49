<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<!-- strings_de_DE.qm was made of this: lrelease strings_de_DE.ts -->
<TS version="2.1" language="de_DE">
<context>
    <name>tst</name>
    <message>
        <source>Hello</source>
        <translation>Guten Tag</translation>
    </message>
</context>
</TS>
