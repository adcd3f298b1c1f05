'''A desktop's idle inhibitor for python3-dbusmock, named by this file's name (copied to
"org.gnome.SessionManager.py" it serves GNOME's session manager). Every call is noted, one line
each, in the file beside it ending in ".calls": "Inhibit <cookie> <arguments joined by |>",
"<release method> <cookie>".'''

import os

BUS_NAME = os.path.basename(__file__)[:-len('.py')]
MAIN_OBJ = '/' + BUS_NAME.replace('.', '/')
MAIN_IFACE = BUS_NAME
SYSTEM_BUS = False

# The arguments of Inhibit, and the method that hands a cookie back.
METHODS = {
    'org.gnome.SessionManager': ('susu', 'Uninhibit'),
    'org.freedesktop.ScreenSaver': ('ss', 'UnInhibit'),
}


def load(mock, parameters):
    signature, release = METHODS[BUS_NAME]
    record = __file__[:-len('.py')] + '.calls'
    mock.AddMethods(MAIN_IFACE, [
        ('Inhibit', signature, 'u',
         "ret = dbus.UInt32(__import__('random').randint(1, 2**31)); "
         f"open({record!r}, 'a').write('Inhibit %d %s\\n' % (ret, '|'.join(str(a) for a in args)))"),
        (release, 'u', '', f"open({record!r}, 'a').write('{release} %d\\n' % args[0])"),
    ])
