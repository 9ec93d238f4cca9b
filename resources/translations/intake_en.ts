<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name>intake</name>
    <message id="error_unkown">
        <source>An unknown error occurred.</source>
        <translation>An unknown error occurred.</translation>
    </message>
</context>
</TS>
