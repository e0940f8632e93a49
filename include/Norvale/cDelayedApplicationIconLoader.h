#pragma once

#include <Norvale/NorvaleGlobal.h>

#include <QtCore/QObject>
#include <QtCore/QString>

class QPixmap;

/** @ingroup icons
 * Loads the icon of a program on a thread of the global thread pool, and tells when it is there, so that the user
 * interface never waits for it. What is loaded is what `Corvane::loadApplicationIcon` answers.
 *
 * createLoader() makes the objects; nothing is loaded before start(). A loader belongs to its parent, as every
 * `QObject`, or to the caller when it has none. It lives in the thread that made it, which must run an event loop for
 * finished() to arrive; all functions are called from that thread. Deleting it while it loads is allowed: the load then
 * ends unheard.
 *
 * The order of the virtual functions is fixed.
 *
 * @code
 * auto* loader = cDelayedApplicationIconLoader::createLoader(this, "editor", "/usr/share/applications/editor.desktop");
 * connect(loader, &cDelayedApplicationIconLoader::finished, this, [this](cDelayedApplicationIconLoader* done) {
 *     setIcon(done->id(), done->pixmap());
 *     done->deleteLater();
 * });
 * loader->start();
 * @endcode
 */
class NORVALE_EXPORT cDelayedApplicationIconLoader : public QObject
{
    Q_OBJECT

public:
    /**
     * Makes a loader; nothing is loaded yet.
     * @param parent owns the loader; null leaves it to the caller.
     * @param id     names the request for the caller, who gets it back from id(); any text.
     * @param path   the file whose icon is wanted; a relative path starts at the current folder.
     * @return the loader; null only when there is no memory for it.
     */
    static cDelayedApplicationIconLoader* createLoader(QObject* parent, const QString& id, const QString& path);

    /** Begins to load. A call while the loader loads does nothing; one after finished() loads again. */
    virtual void start() = 0;
    /** @return the text that createLoader() was given. */
    virtual QString id() = 0;
    /**
     * @return the icon; a null pixmap when the file has none, and before start(). Between start() and finished() the
     *         call waits until it is loaded.
     */
    virtual QPixmap pixmap() = 0;
    /** @return the path that createLoader() was given. */
    virtual QString path() = 0;

Q_SIGNALS:
    /** The icon of @p loader, which is this object, is there, or there is none. */
    void finished(cDelayedApplicationIconLoader* loader);

protected:
    /** @param parent owns the loader; may be null. */
    cDelayedApplicationIconLoader(QObject* parent);
};
