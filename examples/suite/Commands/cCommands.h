#pragma once

#include <Norvale/Corvane.h>
#include <Norvale/cJsonValue.h>

/**
 * Answers the messages of clients on the local socket with what the other plugins can do.
 *
 * | command  | members | value of the answer |
 * |---|---|---|
 * | GREET    | name    | a greeting |
 * | REMEMBER | name    | true; who is greeted when a GREET names nobody |
 * | COUNT    | text    | {"words":..,"sentences":..,"characters":..}; the first one loads the plugin WordCount |
 * | JOURNAL  | lines   | the newest lines of the journal |
 *
 * The answer has the form of the host's own: {"command":"RESULT","value":..}, or
 * {"command":"ERROR","error":..,"text":..}; a "request" of the message, a text or number, is repeated. Other commands
 * are left to other handlers.
 */
class cCommands : public Corvane::ILocalSocketMessageHandler
{
public:
    void handleMessage(int connectionId, const cJsonValue& message) override;

private:
    /// A command's own work: puts the value into the answer, or returns why it could not.
    using Work = QString (cCommands::*)(const cJsonValue& message, cJsonValue& value);
    static Work workOf(const QString& command);

    QString greet(const cJsonValue& message, cJsonValue& value);
    QString remember(const cJsonValue& message, cJsonValue& value);
    QString count(const cJsonValue& message, cJsonValue& value);
    QString journal(const cJsonValue& message, cJsonValue& value);
};
