<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en_US">
<context>
    <name>cGreeter</name>
    <message>
        <source>Hello, %1!</source>
        <translation>Guten Tag, %1!</translation>
    </message>
    <message>
        <source>Welcome, %1! Please take a seat.</source>
        <translation>Willkommen, %1! Bitte nehmen Sie Platz.</translation>
    </message>
    <message>
        <source>Welcome back, %1! This is visit number %2.</source>
        <translation>Schön, Sie wiederzusehen, %1! Dies ist Besuch Nummer %2.</translation>
    </message>
    <message>
        <source>stranger</source>
        <translation>Unbekannte Person</translation>
    </message>
</context>
</TS>
