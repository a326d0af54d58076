#include "Messages.h"

#include <QzResource/Localizer.h>

#include <algorithm>
#include <iterator>

namespace ReportingServer
{
    namespace
    {
        constexpr MessageText kTexts[] = {
            {kServerStarted, "The server is ready: %1 worker threads, server name '%2'.",
                "Der Server ist bereit: %1 Arbeitsthreads, Servername '%2'."},
            {kServerStopped, "The server has stopped after %1 requests, %2 of them failed.",
                "Der Server ist beendet nach %1 Anfragen, davon %2 fehlgeschlagen."},
            {kSettingsRead, "The settings of '%1' are in force.", "Die Einstellungen aus '%1' gelten jetzt."},
            {kSettingsRejected, "The settings were not taken over.", "Die Einstellungen wurden nicht übernommen."},
            {kTraceNotPrinted, "The trace file '%1' could not be written: %2.",
                "Die Trace-Datei '%1' konnte nicht geschrieben werden: %2."},
            {kSignedIn, "User '%1' signed in to project '%2'.", "Benutzer '%1' hat sich am Projekt '%2' angemeldet."},
            {kSignedOut, "User '%1' signed out.", "Benutzer '%1' hat sich abgemeldet."},
            {kPasswordChanged, "User '%1' has a new password.", "Benutzer '%1' hat ein neues Kennwort."},
            {kStatusTold, "%1 sessions are open.", "%1 Sitzungen sind offen."},
            {kReportStarted, "Report '%1' runs on database '%2'.", "Bericht '%1' läuft auf der Datenbank '%2'."},
            {kReportFinished, "Report '%1' gave %2 rows as %3.", "Bericht '%1' ergab %2 Zeilen als %3."},
            {kReportUnknown, "No folder holds a report '%1'.", "Kein Ordner enthält den Bericht '%1'."},
            {kReportFailed, "Report '%1' could not be run.", "Bericht '%1' konnte nicht ausgeführt werden."},
            {kDatabaseSilent, "Database '%1' did not answer within %2 ms.",
                "Die Datenbank '%1' hat nicht innerhalb von %2 ms geantwortet."},
            {kSearchFinished, "The search for '%1' found %2 reports.", "Die Suche nach '%1' fand %2 Berichte."},
            {kRequestReceived, "Request %1: %2%3", "Anfrage %1: %2%3"},
            {kRequestAnswered, "Request %1 answered with %2.", "Anfrage %1 beantwortet mit %2."},
            {kRequestMalformed, "Line %1 holds no request: %2.", "Zeile %1 enthält keine Anfrage: %2."},
            {kRequestFailed, "Request %1 (%2) has failed.", "Anfrage %1 (%2) ist fehlgeschlagen."},
            {kNotSignedIn, "Session '%1' is not signed in.", "Die Sitzung '%1' ist nicht angemeldet."},
            {kNotOffered, "Command %1 is not offered here.", "Den Befehl %1 gibt es hier nicht."},
            {kPasswordMissing, "User '%1' gave no password.", "Benutzer '%1' nannte kein Kennwort."},
            {kBodyReceived, "%1 %2 with the body %3", "%1 %2 mit dem Inhalt %3"},
            {kPeerAlive, "Node '%1' of the cluster is alive.", "Der Knoten '%1' des Clusters lebt."},
        };
    }

    std::span<MessageText const> GetMessageTexts()
    {
        return kTexts;
    }

    MessageText const* FindMessageText(unsigned int id)
    {
        auto const found = std::ranges::find(kTexts, id, [](MessageText const& text) { return text.mID; });
        return found == std::end(kTexts) ? nullptr : found;
    }

    void RegisterMessageTexts()
    {
        for (MessageText const& text : kTexts)
        {
            int const id = static_cast<int>(text.mID);
            QzResource::RegisterMessageText(kEnglish, kMessageDomain, id, text.mEnglish);
            QzResource::RegisterMessageText(kGerman, kMessageDomain, id, text.mGerman);
        }
    }

    QzBase::Message MakeMessage(MessageID id)
    {
        return QzBase::Message(kMessageDomain, static_cast<int>(id), FindMessageText(id)->mEnglish);
    }

    QzBase::Message& WrapMessage(QzBase::Message& message, MessageID id)
    {
        return message.WrapBy(kMessageDomain, static_cast<int>(id), FindMessageText(id)->mEnglish);
    }
}
