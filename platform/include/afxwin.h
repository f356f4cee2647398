// afxwin.h - the framework's classes around the window system.
#ifndef AFXWIN_H
#define AFXWIN_H

#include "afx.h"
#include "afxcoll.h"
#include "afxres.h"
#include "afx_geometry.h"
#include "afx_gdi.h"
#include "afx_cmd.h"
#include "afx_menu.h"
#include "afx_wnd.h"
#include "afx_dc.h"
#include "afx_controls.h"
#include "afx_ddx.h"
#include "afx_dialog.h"
#include "afx_app.h"
#include "afx_msg.h"
#include "afx_msgbox.h"

#endif
